// A configuration library that reads settings as the real one does and brings faults into start-up.
//
// The daemon names this library before the C library, so the thread functions defined here come
// before the C library's. Calls are counted from the moment at which start-up reads the root CA
// file's name, each function for itself. A fault is "function:number", several are separated by
// commas. The environment orders them:
//   FAULT_FAIL       these calls do nothing and report an error
//   FAULT_PASS       these calls do nothing and report success
//   FAULT_HOLD       these calls wait before they do their work: they make the file
//                    "FAULT_HOLD_FILE.reached" and go on when the file FAULT_HOLD_FILE is there
//   FAULT_THROW      reading the root CA file's name throws "runtime_error", "logic_error" or
//                    "bad_alloc"
//   FAULT_TEXT       the text of that exception
//   FAULT_PRINT      reading the root CA file's name prints this text, as a library may
// Whether the process may then leave a core file is noted in the file "FAULT_HOLD_FILE.core".
// tests/system/start_faults.h is the test's side.

#include "platform/configuration.h"
#include "platform/configuration/parser.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>

namespace {

std::atomic<bool> gCounting = false;

struct Counted {
    const char* function;
    std::atomic<int> calls;
};
Counted gCreate = {"pthread_create", 0};
Counted gJoin = {"pthread_join", 0};
Counted gMutexInit = {"pthread_mutex_init", 0};

// NOLINTBEGIN(concurrency-mt-unsafe): the environment never changes
std::string environmentText(const char* name) {
    const char* text = std::getenv(name);
    return text == nullptr ? "" : text;
}
// NOLINTEND(concurrency-mt-unsafe)

bool isOrdered(const char* order, const std::string& fault) {
    return ("," + environmentText(order) + ",").find("," + fault + ",") != std::string::npos;
}

void hold() {
    const std::string release = environmentText("FAULT_HOLD_FILE");
    std::ofstream(release + ".reached").flush();
    while (::access(release.c_str(), F_OK) != 0) {
        (void)::usleep(2000);
    }
}

enum class Course { REAL, FAIL, PASS };

Course courseOf(Counted& counted) {
    if (!gCounting) {
        return Course::REAL;
    }
    const std::string fault = counted.function + (":" + std::to_string(++counted.calls));
    if (isOrdered("FAULT_HOLD", fault)) {
        hold();
    }
    if (isOrdered("FAULT_FAIL", fault)) {
        return Course::FAIL;
    }
    return isOrdered("FAULT_PASS", fault) ? Course::PASS : Course::REAL;
}

// The function that this library stands in front of, called as the course says.
template <typename Function, typename... Arguments>
int run(Counted& counted, int error, Arguments... arguments) {
    const Course course = courseOf(counted);
    if (course != Course::REAL) {
        return course == Course::FAIL ? error : 0;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): dlsym's own interface
    const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, counted.function));
    return real(arguments...);
}

std::string readSetting(const std::string& path, const char* separator, const std::string& key) {
    std::ifstream file(path);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    return std::string(findConfigValue(text, separator, key).value_or(""));
}

void throwAsOrdered() {
    const std::string exception = environmentText("FAULT_THROW");
    if (exception == "runtime_error") {
        throw std::runtime_error(environmentText("FAULT_TEXT"));
    }
    if (exception == "logic_error") {
        throw std::logic_error(environmentText("FAULT_TEXT"));
    }
    if (exception == "bad_alloc") {
        throw std::bad_alloc();
    }
}

void noteCoreFiles() {
    std::ofstream(environmentText("FAULT_HOLD_FILE") + ".core") << ::prctl(PR_GET_DUMPABLE);
}

} // namespace

std::string getConfigValue(const std::string& path, const std::string& key, int /*maxLength*/) {
    if (key == "ROOT_CA_FILE") {
        noteCoreFiles();
        (void)std::printf("%s", environmentText("FAULT_PRINT").c_str());
        throwAsOrdered();
        gCounting = true;
    }
    return readSetting(path, "=", key);
}

int getPropertyValue(const char* path, const char* separator, const char* key, char* buffer,
                     int bufferSize) {
    const std::string value = readSetting(path, separator, key);
    if (value.empty() || value.size() >= static_cast<std::size_t>(bufferSize)) {
        return -1;
    }
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    return 0;
}

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    return run<decltype(&pthread_create)>(gCreate, EAGAIN, thread, attributes, body, argument);
}

int pthread_join(pthread_t thread, void** result) {
    return run<decltype(&pthread_join)>(gJoin, EINVAL, thread, result);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept {
    return run<decltype(&pthread_mutex_init)>(gMutexInit, ENOMEM, mutex, attributes);
}

} // extern "C"
