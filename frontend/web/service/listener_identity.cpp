#include "frontend/web/service/listener_identity.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/stored_text.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::chrono::milliseconds LOOK_PERIOD{500};

// Far above any private key.
constexpr std::size_t LONGEST_KEY = std::size_t{64} * 1024;

std::string hostName() {
    std::array<char, 65> name{}; // a common name has 64 characters at most (RFC 5280, A.1)
    return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data()
                                                                             : "localhost";
}

// The file that the backend's reference to a private key names; empty when it cannot be read.
std::string readPrivateKey(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(LONGEST_KEY, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

// What Redis holds of a certificate that a context can be made of.
struct CertificateRecord {
    std::string text;
    std::string privateKeyFile;
};

// The members of the collection, the newest first.
std::vector<std::string> membersOf(redisContext* session, const std::string& collectionUri) {
    const std::string beginning = referenceEntry("");
    std::vector<std::string> uris;
    for (const std::string& entry :
         runListCommand(session, {"LRANGE", memberListKey(collectionUri), "0", "-1"})) {
        if (entry.starts_with(beginning)) {
            uris.push_back(entry.substr(beginning.size()));
        }
    }
    return uris;
}

CertificateRecord readRecord(redisContext* session, const std::string& uri) {
    const std::vector<std::string> fields =
        runListCommand(session, {"HMGET", uri, CERTIFICATE_STRING, CERT_PRIVATE_KEY_FIELD});
    return fields.size() == 2 ? CertificateRecord{storedString(fields[0]), fields[1]}
                              : CertificateRecord{};
}

std::vector<CertificateRecord> readRecords(redisContext* session,
                                           const std::string& collectionUri) {
    std::vector<CertificateRecord> records;
    for (const std::string& uri : membersOf(session, collectionUri)) {
        CertificateRecord record = readRecord(session, uri);
        if (!record.text.empty() && !record.privateKeyFile.empty()) {
            records.push_back(std::move(record));
        }
    }
    return records;
}

// Null, and a line for the operator, when the certificate cannot be used.
TlsContext contextFor(const CertificateRecord& record) {
    ListenerCertificate certificate = {record.text, readPrivateKey(record.privateKeyFile)};
    TlsContext context;
    try {
        context = tlsContextFor(certificate);
    } catch (const std::runtime_error& error) {
        (void)std::fprintf(stderr,
                           "certificateweb: the certificate with the key %s is not shown: %s\n",
                           record.privateKeyFile.c_str(), error.what());
    }
    wipeText(certificate.privateKey);
    return context;
}

std::string joined(const std::vector<CertificateRecord>& records) {
    std::string text;
    for (const CertificateRecord& record : records) {
        text += record.privateKeyFile + "\n" + record.text + "\n";
    }
    return text;
}

} // namespace

ListenerIdentity::ListenerIdentity(RedisSessions& redisSessions, std::string collection)
    : sessions(redisSessions), collectionUri(std::move(collection)),
      selfSigned(selfSignedContext(hostName())), shown(selfSigned), watcher([this] { watch(); }) {}

ListenerIdentity::~ListenerIdentity() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    stopped.notify_all();
    watcher.join();
}

TlsContext ListenerIdentity::current() {
    const std::lock_guard lock(mutex);
    return shown;
}

void ListenerIdentity::show(TlsContext context) {
    const std::lock_guard lock(mutex);
    shown = std::move(context);
}

void ListenerIdentity::watch() {
    std::unique_lock lock(mutex);
    while (!stopping) {
        lock.unlock();
        try {
            refresh();
        } catch (const FrontEndError&) {
            // What is shown stays; requests tell their clients that Redis is gone.
        }
        lock.lock();
        stopped.wait_for(lock, LOOK_PERIOD, [this] { return stopping; });
    }
}

// Makes a context anew only when the records have changed.
void ListenerIdentity::refresh() {
    const BorrowedSession session(sessions);
    const std::vector<CertificateRecord> records = readRecords(session.get(), collectionUri);
    std::string text = joined(records);
    if (text == shownRecords) {
        return;
    }
    shownRecords = std::move(text);
    for (const CertificateRecord& record : records) {
        if (TlsContext context = contextFor(record)) {
            return show(std::move(context));
        }
    }
    show(selfSigned);
}
