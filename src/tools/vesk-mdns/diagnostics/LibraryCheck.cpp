// SPDX-License-Identifier: MIT
#include "Checks.h"
#include "DnsSdLibrary.h"

namespace {

QString nameOf(Backend backend)
{
    switch (backend) {
    case Backend::Daemon:
        return "the Avahi daemon";
    case Backend::Process:
        return "a responder inside the process";
    case Backend::Memory:
        return "a network in memory";
    case Backend::Unknown:
        break;
    }
    return QString();
}

Check checkBackend()
{
    const QString name = nameOf(backendInUse());
    const QString wanted = QString::fromLocal8Bit(qgetenv("VESK_DNSSD_BACKEND"));
    if (!isBackendByDefault())
        return {"backend", true, name + " is used, as --backend or VESK_DNSSD_BACKEND says", QString()};
    if (wanted.isEmpty() || wanted == "auto")
        return {"backend", true, name + " is used, by default", QString()};
    return {"backend", false,
            QString("%1 is used, since VESK_DNSSD_BACKEND is \"%2\", which is no backend").arg(name, wanted),
            "Set it to auto, daemon or process"};
}

} // namespace

QVector<Check> checkLibrary()
{
    const QString library = "the DNS-SD library is " + libraryFile();
    if (backendInUse() == Backend::Unknown)
        return {{"library", true, library + "; bus and daemon are not examined for it", QString()}};
    return {{"library", true, library, QString()}, checkBackend()};
}
