// SPDX-License-Identifier: MIT
#ifndef DNS_SD_LIBRARY_H
#define DNS_SD_LIBRARY_H

#include <QString>

/** What does the multicast DNS of the DNS-SD library. */
enum class Backend
{
    Daemon,  ///< the Avahi daemon
    Process, ///< a responder inside this process
    Memory,  ///< a network that exists in this process alone
    Unknown  ///< the library is another one: it is not known which daemon it needs, and how it reaches that
};

Backend backendInUse();

/** Whether the backend in use is the library's own choice. */
bool isBackendByDefault();

/** Chooses "auto", "daemon" or "process", before anything else is asked of the library. False: the library
 * knows no backends. */
bool chooseBackend(const QString& name);

/** Whether the Avahi daemon is needed, and nothing takes connections where its message bus should listen.
 * Never waits. */
bool isBusMissing();

/** The file that the DNS-SD library was loaded from. */
QString libraryFile();

#endif
