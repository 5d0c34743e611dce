// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PROCESSENGINE_H
#define VESK_DNSSD_PROCESSENGINE_H

#include "BackendChoice.h"

#include <memory>

namespace vesk::dnssd {

class Engine;

/**
 * The engine that the process's operations run on, made with the first of them. It is never destroyed: a
 * process may end while its responder hangs and the I/O thread with it, and handles may be released by
 * destructors that run late. It is replaced when its thread had to end, and in a forked process, which
 * inherits neither the thread nor anything that it does.
 *
 * Throws std::system_error or std::bad_alloc when there is no descriptor, thread or memory for it.
 */
std::shared_ptr<Engine> processEngine();

/// The same, or null when none has been needed yet.
std::shared_ptr<Engine> processEngineIfAny();

/// Chooses the backend of the process's engines, instead of the environment. False when one has been made:
/// the choice is fixed for the life of the process, forked ones included.
bool chooseBackend(BackendKind kind);

/// What the process's engines have, or are going to have.
BackendKind chosenBackend();

/// Tests run the process's operations on an engine of their own, or, with null, on a new one.
void setProcessEngine(std::shared_ptr<Engine> engine);

/// How many forks lie between the first process of this library and this one. What was made before a fork is
/// of no use after it.
unsigned forkGeneration();

} // namespace vesk::dnssd

#endif
