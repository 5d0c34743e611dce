// SPDX-License-Identifier: MIT
// load_library NAME FILE: loads the DNS-SD library by its name, as some programs do at run time, and fails
// unless FILE is what was loaded and it can be called.
#include <cstdio>
#include <dlfcn.h>
#include <filesystem>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: load_library NAME FILE\n");
        return 2;
    }
    void* library = dlopen(argv[1], RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "FAIL: %s\n", dlerror());
        return 1;
    }
    void* call = dlsym(library, "DNSServiceRefSockFD");
    Dl_info info = {};
    if (!call || dladdr(call, &info) == 0) {
        std::fprintf(stderr, "FAIL: %s has no DNSServiceRefSockFD\n", argv[1]);
        return 1;
    }
    if (!std::filesystem::equivalent(info.dli_fname, argv[2])) {
        std::fprintf(stderr, "FAIL: %s is loaded from %s\n", argv[1], info.dli_fname);
        return 1;
    }
    const auto socketOf = reinterpret_cast<int (*)(void*)>(call);
    if (socketOf(nullptr) != -1) {
        std::fprintf(stderr, "FAIL: DNSServiceRefSockFD of a null handle is not -1\n");
        return 1;
    }
}
