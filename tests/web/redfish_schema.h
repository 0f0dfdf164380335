#pragma once

// What the Redfish schemas say of the documents that the service shows.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

// How the document departs from the schema version that its "@odata.type" names: properties that it
// lacks, that the schema does not have, or that are of another type; "Subject.City: no text". Empty
// for a valid document. A type that is not in the table is a fault.
[[nodiscard]] std::vector<std::string> schemaFaults(const nlohmann::json& document);

// Every URI that the document refers to: "@odata.id" and "@Redfish.ActionInfo" at any depth below
// the top, sorted.
[[nodiscard]] std::vector<std::string> linksOf(const nlohmann::json& document);
