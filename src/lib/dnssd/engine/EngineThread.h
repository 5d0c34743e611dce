// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ENGINETHREAD_H
#define VESK_DNSSD_ENGINETHREAD_H

#include <memory>

namespace vesk::dnssd {

class Engine;

/// Runs an engine's loop in a thread of its own, "dnssd", until its end or the process's. The engine is
/// marked dead when the system cannot wait for its descriptors any more. Throws std::system_error when there
/// is no thread to be had.
void runInThread(std::shared_ptr<Engine> engine);

} // namespace vesk::dnssd

#endif
