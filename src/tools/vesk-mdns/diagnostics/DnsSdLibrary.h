// SPDX-License-Identifier: MIT
#ifndef DNS_SD_LIBRARY_H
#define DNS_SD_LIBRARY_H

#include <QString>

/** Whether the DNS-SD library is the one over Avahi; of another it is not known which daemon it needs, and
 * how it reaches that. */
bool isLibraryOverAvahi();

/** Whether nothing takes connections where the message bus of the Avahi daemon should listen; false for
 * another library. Never waits. */
bool isBusMissing();

/** The file that the DNS-SD library was loaded from. */
QString libraryFile();

#endif
