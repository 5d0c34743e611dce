// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CALLBACKGUARD_H
#define VESK_DNSSD_CALLBACKGUARD_H

#include <new>

namespace vesk::dnssd {

/// Does what a callback of libavahi-core's is for. Nothing is thrown through its frames, which would leave it
/// in the middle of something: a step that runs out of memory is given up.
template <typename Step>
void guardedCallback(Step step)
try {
    step();
} catch (const std::bad_alloc&) {
}

} // namespace vesk::dnssd

#endif
