#include "frontend/web/service/session_table.h"

#include "frontend/records/timestamps.h"

#include <algorithm>

namespace {

constexpr std::size_t TOKEN_BYTES = 32;
constexpr std::size_t ID_BYTES = 8;

} // namespace

void SessionTable::dropSilent() {
    const Clock::time_point moment = now();
    std::erase_if(entries, [moment](const Entry& entry) {
        return moment - entry.lastUse >= SESSION_TIMEOUT;
    });
}

std::optional<NewSession> SessionTable::open(const std::string& user,
                                             const std::string& clientAddress) {
    NewSession made = {{randomText(ID_BYTES), user, clientAddress, isoTimeNow()},
                       randomText(TOKEN_BYTES)};
    const std::lock_guard lock(mutex);
    dropSilent();
    if (entries.size() >= maxSessions) {
        return std::nullopt;
    }
    entries.push_back({made.session, digestSecret(made.token), now()});
    return made;
}

std::optional<WebSession> SessionTable::use(const std::string& token) {
    const SecretDigest digest = digestSecret(token);
    const std::lock_guard lock(mutex);
    dropSilent();
    Entry* found = nullptr;
    for (Entry& entry : entries) { // to the end, wherever the session stands
        found = isSameSecret(entry.tokenDigest, digest) ? &entry : found;
    }
    if (found == nullptr) {
        return std::nullopt;
    }
    found->lastUse = now();
    return found->session;
}

std::optional<WebSession> SessionTable::find(const std::string& id) {
    const std::lock_guard lock(mutex);
    dropSilent();
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&id](const Entry& entry) { return entry.session.id == id; });
    return found == entries.end() ? std::nullopt : std::optional(found->session);
}

std::vector<WebSession> SessionTable::list() {
    const std::lock_guard lock(mutex);
    dropSilent();
    std::vector<WebSession> sessions;
    sessions.reserve(entries.size());
    for (const Entry& entry : entries) {
        sessions.push_back(entry.session);
    }
    return sessions;
}

bool SessionTable::close(const std::string& id) {
    const std::lock_guard lock(mutex);
    dropSilent();
    return std::erase_if(entries, [&id](const Entry& entry) { return entry.session.id == id; }) > 0;
}
