#include "frontend/web/resources/metadata.h"

#include <array>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 21> NAMESPACES = {
    "ActionInfo.v1_1_2",
    "Certificate.v1_11_0",
    "CertificateCollection",
    "CertificateLocations.v1_0_2",
    "CertificateService.v1_0_4",
    "Event.v1_7_0",
    "EventDestination.v1_10_0",
    "EventDestinationCollection",
    "EventService.v1_7_0",
    "Manager.v1_11_0",
    "ManagerCollection",
    "ManagerNetworkProtocol.v1_6_1",
    "Message.v1_1_1",
    "Resource.v1_18_0",
    "ServiceRoot.v1_9_0",
    "Session.v1_4_0",
    "SessionCollection",
    "SessionService.v1_1_8",
    "Task.v1_4_3",
    "TaskCollection",
    "TaskService.v1_2_0",
};

std::string includeOf(std::string_view schemaNamespace) {
    return "    <edmx:Include Namespace=\"" + std::string(schemaNamespace) + "\"/>\n";
}

std::string referenceTo(std::string_view schemaNamespace) {
    const std::string_view schema = schemaNamespace.substr(0, schemaNamespace.find('.'));
    return "  <edmx:Reference Uri=\"http://redfish.dmtf.org/schemas/v1/" + std::string(schema) +
           "_v1.xml\">\n" + includeOf(schema) +
           (schema == schemaNamespace ? "" : includeOf(schemaNamespace)) + "  </edmx:Reference>\n";
}

constexpr std::string_view BEGINNING =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<edmx:Edmx xmlns:edmx="http://docs.oasis-open.org/odata/ns/edmx" Version="4.0">
)";

constexpr std::string_view END =
    R"(  <edmx:Reference Uri="http://redfish.dmtf.org/schemas/v1/RedfishExtensions_v1.xml">
    <edmx:Include Namespace="RedfishExtensions.v1_0_0" Alias="Redfish"/>
  </edmx:Reference>
  <edmx:DataServices>
    <Schema xmlns="http://docs.oasis-open.org/odata/ns/edm" Namespace="Service">
      <EntityContainer Name="Service" Extends="ServiceRoot.v1_9_0.ServiceContainer"/>
    </Schema>
  </edmx:DataServices>
</edmx:Edmx>
)";

} // namespace

std::string metadataDocument() {
    std::string document(BEGINNING);
    for (const std::string_view each : NAMESPACES) {
        document += referenceTo(each);
    }
    return document.append(END);
}
