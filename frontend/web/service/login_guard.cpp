#include "frontend/web/service/login_guard.h"

LoginGuard::LoginGuard(const std::string& user, const std::string& password)
    : userDigest(user), passwordDigest(password) {}

bool LoginGuard::accepts(const std::string& user, const std::string& password,
                         const std::string& /*address*/) {
    return user == userDigest && password == passwordDigest;
}

std::chrono::milliseconds LoginGuard::delayFor(const std::string& /*address*/) {
    return std::chrono::milliseconds(0);
}
