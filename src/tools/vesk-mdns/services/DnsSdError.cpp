// SPDX-License-Identifier: MIT
#include "DnsSdError.h"

#include <QRegularExpression>
#include <algorithm>
#include <iterator>

namespace {

struct Entry
{
    DNSServiceErrorType error;
    const char* meaning;
    const char* advice;
};

// By number, because the dns_sd.h of other libraries may lack some names. docs/dnssd-errors.md says the same.
constexpr Entry table[] = {
    {0, "there is no error", "go on"},
    {-65537, "the mDNS daemon failed without a reason that is known here",
     "look into the daemon's log, and restart it"},
    {-65538, "there is no such name", "check the name's spelling"},
    {-65539, "there is no memory, thread or file descriptor left",
     "close what is not needed, or raise the limit: 'ulimit -n' shows that of descriptors"},
    {-65540, "a name, a number or data that was handed over is not valid",
     "check name, type, domain, interface and data"},
    {-65541, "the handle is none of this process, or of another kind",
     "use the handle that the matching start call made, in the process that made it"},
    {-65542, "the operation cannot do that in its present state", "wait for its reply, then try again"},
    {-65543, "the flags are unknown or contradict each other", "check the flags"},
    {-65544, "the DNS-SD library or the mDNS daemon cannot do that",
     "do without it, or use another library and daemon"},
    {-65545, "the object has not been set up", "call what sets it up first"},
    {-65547, "this is registered already", "withdraw it first"},
    {-65548, "the name is taken already", "choose another name"},
    {-65549, "the TXT record is malformed, or has no such entry",
     "check the record: every entry is a byte that tells its length, and that many bytes"},
    {-65550, "a firewall is in the way", "let UDP port 5353 through"},
    {-65551, "the DNS-SD library and the mDNS daemon do not fit together",
     "install both from the same release"},
    {-65552, "there is no such network interface", "use one of those that 'ip link' shows"},
    {-65553, "the mDNS daemon has no room for more clients, objects or records",
     "end programs that use it, or raise clients-max, objects-per-client-max and entries-per-entry-group-max "
     "in "
     "avahi-daemon.conf"},
    {-65554, "the name has no record of that type", "ask for another type"},
    {-65555, "the server wants to know first who is asking", "set up a key for it"},
    {-65556, "the TXT record has no such key", "check the key's spelling"},
    {-65557, "the router does not let the port through", "switch port forwarding on in the router"},
    {-65558, "there are two routers with address translation in a row", "let one of them work as a bridge"},
    {-65559, "the clocks of this host and the server differ too much", "set the clock"},
    {-65560, "a signature is wrong", "check the key"},
    {-65561, "a key is wrong", "check the key"},
    {-65562, "that failed for the moment", "try again"},
    {-65563, "the mDNS daemon or the message bus is not running", "'vesk-mdns doctor' says what to do"},
    {-65564, "there is no way to open a port of the router", "forward the port by hand in the router"},
    {-65565, "the router does not open ports on request", "switch that on in the router"},
    {-65566, "there is no router", "connect to a network that has one"},
    {-65567, "the server does not tell of changes by itself", "ask again now and then"},
    {-65568, "there was no answer in time", "'vesk-mdns doctor' says what may be wrong"},
    {-65569, "the connection to the mDNS daemon is dead", "release the handle and start anew"},
    {-65570, "a policy of this system denies it", "ask the system's administrator"},
    {-65571, "the mDNS daemon or the message bus does not permit it",
     "let the bus's policy allow calls to org.freedesktop.Avahi and, to advertise, set disable-publishing "
     "and disable-user-service-publishing to no in avahi-daemon.conf"},
    {-65572, "the answer is out of date", "ask again"},
};

} // namespace

ErrorWords errorWords(DNSServiceErrorType error)
{
    const auto* entry = std::find_if(std::begin(table), std::end(table),
                                     [error](const Entry& each) { return each.error == error; });
    if (entry == std::end(table))
        return {"the DNS-SD library failed with a number that is not known here",
                "look into the manual of that library"};
    return {entry->meaning, entry->advice};
}

QString errorLine(DNSServiceErrorType error)
{
    const ErrorWords words = errorWords(error);
    return QString("%1 (error %2); %3").arg(words.meaning).arg(error).arg(words.advice);
}

DNSServiceErrorType reportedError(const QString& logLine)
{
    // Names may hold such a number, too; in a line that names a service it comes after the error, or before a
    // colon.
    static const QRegularExpression number(": ?(-65[0-9]{3})( for .*)?$");
    return number.match(logLine).captured(1).toInt();
}
