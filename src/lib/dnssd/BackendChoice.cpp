// SPDX-License-Identifier: MIT
//
// Where the library is put together: the one place that knows every backend.
#include "BackendChoice.h"
#include "AvahiBackend.h"
#include "MemoryBackend.h"
#include "ProcessBackend.h"

namespace vesk::dnssd {

namespace {

template <typename Made>
BackendFactory factoryOf()
{
    return [](EventLoop& loop, Backend::StateListener& listener) {
        return std::make_unique<Made>(loop, listener);
    };
}

} // namespace

BackendFactory backendFactory(BackendKind kind)
{
    switch (kind) {
    case BackendKind::Auto:
    case BackendKind::Daemon:
        return factoryOf<AvahiBackend>();
    case BackendKind::Process:
        return factoryOf<ProcessBackend>();
    case BackendKind::Memory:
        return factoryOf<MemoryBackend>();
    }
    return nullptr;
}

} // namespace vesk::dnssd
