// SPDX-License-Identifier: MIT
#include "Checks.h"
#include "DnsSdLibrary.h"

QVector<Check> checkLibrary()
{
    const QString limit = isLibraryOverAvahi() ? "" : "; bus and daemon are not examined for it";
    return {{"library", true, "the DNS-SD library is " + libraryFile() + limit, QString()}};
}
