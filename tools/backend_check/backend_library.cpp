#include "tools/backend_check/backend_library.h"

#include <dlfcn.h>
#include <link.h>

#include <array>
#include <stdexcept>

namespace {

// As GCC and Clang name the functions of the header, with the string of GCC's new ABI.
constexpr const char* CREATE_SYMBOL = "_Z24createCertificateHandlerRK17CreateCertRequest";
constexpr const char* DELETE_SYMBOL =
    "_Z24deleteCertificateHandlerRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";
constexpr const char* GENERATE_CSR_SYMBOL = "_Z18generateCSRHandlerRK10CSRRequest";
constexpr const char* REPLACE_SYMBOL = "_Z25replaceCertificateHandlerRK18ReplaceCertRequest";

struct OtherName {
    const char* symbol;
    const char* explanation;
};

// How the function that takes a string is named by other means of building.
constexpr std::array<OtherName, 3> OTHER_NAMES = {{
    {"_Z24deleteCertificateHandlerRKSs",
     "it was built with the old std::string (_GLIBCXX_USE_CXX11_ABI=0); build it with 1"},
    {"_Z24deleteCertificateHandlerRKNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEE",
     "it was built with libc++; build it with libstdc++"},
    {"deleteCertificateHandler",
     "its handlers have C linkage; include platform/certificate_backend.h and leave out extern "
     "\"C\""},
}};

std::string whyMissing(void* library) {
    for (const auto& [symbol, explanation] : OTHER_NAMES) {
        if (dlsym(library, symbol) != nullptr) {
            return explanation;
        }
    }
    return "export it (visibility, version script), in the global namespace";
}

template <typename Handler>
void find(void* library, const char* name, const char* symbol, Handler& handler) {
    void* found = dlsym(library, symbol);
    if (found == nullptr) {
        throw std::runtime_error(std::string(name) + " is missing (" + symbol +
                                 "): " + whyMissing(library));
    }
    handler = reinterpret_cast<Handler>(found); // as POSIX has it for dlsym
}

std::string sonameOf(void* library) {
    link_map* map = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) {
        return {};
    }
    const char* texts = nullptr;
    const ElfW(Dyn)* soname = nullptr;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_STRTAB) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader has put the address there
            texts = reinterpret_cast<const char*>(entry->d_un.d_ptr);
        } else if (entry->d_tag == DT_SONAME) {
            soname = entry;
        }
    }
    return texts != nullptr && soname != nullptr ? texts + soname->d_un.d_val : std::string();
}

} // namespace

BackendLibrary loadBackend(const std::string& path) {
    // A name without a slash would be looked for in the system's folders.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        throw std::runtime_error(reason != nullptr ? reason : "it cannot be loaded");
    }
    BackendLibrary backend;
    find(library, "createCertificateHandler", CREATE_SYMBOL, backend.create);
    find(library, "deleteCertificateHandler", DELETE_SYMBOL, backend.remove);
    find(library, "generateCSRHandler", GENERATE_CSR_SYMBOL, backend.generateCsr);
    find(library, "replaceCertificateHandler", REPLACE_SYMBOL, backend.replace);
    backend.soname = sonameOf(library);
    return backend;
}
