// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BACKENDSELECTION_H
#define VESK_DNSSD_BACKENDSELECTION_H

#include "BackendChoice.h"

#include <optional>

namespace vesk::dnssd {

/// Which backend a process has: the one that the application chose, or the environment variable
/// VESK_DNSSD_BACKEND (daemon, process, memory or auto). Fixed once it has been needed.
class BackendSelection
{
public:
    /// The application's choice. False: it comes too late.
    bool choose(BackendKind kind);

    /// What is chosen at this moment.
    BackendKind current() const;

    /// The same, for good. A value of the variable that this library has no backend for is complained about
    /// on the standard error, and counts as auto.
    BackendKind fix();

private:
    std::optional<BackendKind> m_chosen;
    bool m_isFixed = false;
};

} // namespace vesk::dnssd

#endif
