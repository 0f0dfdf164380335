#include "bench/request_cases.h"

#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/protocol/status_words.h"
#include "tests/support/redis_client.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

json reference(const std::string& uri) {
    return {{ODATA_ID, uri}};
}

FrontEndRequest makeFrontEndRequest(RequestKind kind, const std::string& targetUri,
                                    const json& body) {
    FrontEndRequest request;
    request.kind = kind;
    request.targetUri = targetUri;
    request.body = body.is_null() ? "" : body.dump();
    return request;
}

Command contentOf(RedisClient& client, const std::string& key) {
    const std::string type = client.command("TYPE", key).text;
    if (type == "hash") {
        Command command = {"HSET", key};
        for (const auto& [field, value] : client.hash(key)) {
            command.insert(command.end(), {field, value});
        }
        return command;
    }
    if (type == "list") {
        Command command = {"RPUSH", key};
        const auto entries = client.list(key);
        command.insert(command.end(), entries.begin(), entries.end());
        return command;
    }
    return {"SET", key, client.command("GET", key).text};
}

} // namespace

RequestCase creationCase(const std::string& certificateText) {
    const json body = {{CERTIFICATE_STRING, certificateText}, {CERTIFICATE_TYPE, "PEM"}};
    return {"creation", STATUS_OK, makeFrontEndRequest(RequestKind::CREATE, COLLECTION_URI, body),
            BareCall::CREATE, false};
}

RequestCase deletionCase(const std::string& certificateUri) {
    return {"deletion", STATUS_OK_EMPTY,
            makeFrontEndRequest(RequestKind::REMOVE, certificateUri, nullptr), BareCall::REMOVE,
            true};
}

RequestCase replacementCase(const std::string& certificateUri, const std::string& certificateText) {
    const json body = {{CERTIFICATE_STRING, certificateText},
                       {CERTIFICATE_TYPE, "PEM"},
                       {CERTIFICATE_URI, reference(certificateUri)}};
    return {"replacement", STATUS_OK_RES,
            makeFrontEndRequest(RequestKind::ACTION, REPLACE_CERTIFICATE_ACTION_URI, body),
            BareCall::REPLACE, true};
}

RequestCase signingRequestCase() {
    const json body = {{"CommonName", "bmc.example"},
                       {"Organization", "Example Works"},
                       {"Country", "US"},
                       {"KeyPairAlgorithm", "TPM_ALG_ECDSA"},
                       {"KeyCurveId", "TPM_ECC_NIST_P256"},
                       {"CertificateCollection", reference(COLLECTION_URI)},
                       {"AlternativeNames", {"bmc.example"}}};
    FrontEndRequest request =
        makeFrontEndRequest(RequestKind::ACTION, GENERATE_CSR_ACTION_URI, body);
    request.fields = {{TASK_FIELD, "/redfish/v1/TaskService/Tasks/1"}};
    return {"synchronous signing request", STATUS_OK_RES, request, BareCall::SIGNING_REQUEST,
            false};
}

Exchange databaseContent(RedisClient& client) {
    Commands commands;
    for (const std::string& key : client.keys()) {
        commands.push_back(contentOf(client, key));
    }
    return makeExchange(commands);
}

Exchange frontEndRecords(RedisClient& client) {
    client.command("FLUSHDB");
    const std::string digest = client.command("SCRIPT", "LOAD", "return 1").text;
    client.command("HSET", WEB_DEFAULT_VALUE, MAX_EVENT_GROUP_ID, "1000000",
                   REDIS_CONNECTION_DEFAULT_TIMEOUT, "5000");
    client.command("HSET", EVENT_SERVICE_URI, EVENT_GROUP_COUNTER_FIELD, "7");
    client.command("HSET", SCRIPT_DIGESTS_KEY, RESOURCE_CHANGE_FIELD, digest);
    const json locations = {{ODATA_ID, CERTIFICATE_LOCATIONS_URI},
                            {"Links", {{"Certificates", json::array()}}}};
    storeResource(client, CERTIFICATE_LOCATIONS_URI, locations.dump());
    storeCertificateCollection(client, COLLECTION_URI, {"PEM", "PEMchain", "PKCS7"});
    return databaseContent(client);
}

Exchange requestRecords(RedisClient& client, const FrontEndRequest& request) {
    client.command("FLUSHDB");
    storeRequest(client, request);
    // Texts as a front end stores them: in quotes, with their line ends as they are.
    const json body = json::parse(request.body.empty() ? "{}" : request.body);
    for (const auto& [name, value] : body.items()) {
        if (value.is_string()) {
            client.command("HSET", request.bodyKey, name, "\"" + value.get<std::string>() + "\"");
        }
    }
    return databaseContent(client);
}
