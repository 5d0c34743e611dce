// SPDX-License-Identifier: MIT
#include "DnsSdDouble.h"

#include "Record.h"

#include <QtEndian>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/eventfd.h>
#include <unistd.h>

// The TXT functions of the tree's own DNS-SD library, under other names: these are pure, and only watched.
extern "C" {
void genuineTXTRecordCreate(TXTRecordRef*, std::uint16_t, void*);
void genuineTXTRecordDeallocate(TXTRecordRef*);
DNSServiceErrorType genuineTXTRecordSetValue(TXTRecordRef*, const char*, std::uint8_t, const void*);
DNSServiceErrorType genuineTXTRecordRemoveValue(TXTRecordRef*, const char*);
std::uint16_t genuineTXTRecordGetLength(const TXTRecordRef*);
const void* genuineTXTRecordGetBytesPtr(const TXTRecordRef*);
DNSServiceErrorType genuineTXTRecordGetItemAtIndex(std::uint16_t, const void*, std::uint16_t, std::uint16_t,
                                                   char*, std::uint8_t*, const void**);
}

using Operation = DnsSdDouble::Operation;

namespace {

[[noreturn]] void misuse(const QString& what)
{
    std::fprintf(stderr, "Misuse of the DNS-SD library: %s\n", qPrintable(what));
    std::abort();
}

void record(const QString& call)
{
    Record::instance().add(Record::Call, call);
}

void checkAlive(DNSServiceRef sdRef, const char* call)
{
    if (sdRef && sdRef->released)
        misuse(QStringLiteral("%1 with the released handle %2").arg(QLatin1String(call), text(sdRef)));
}

// What a released TXT record holds: not every DNS-SD library leaves an empty one.
constexpr char releasedRecord = '\xDD';

void checkRecord(const TXTRecordRef* txtRecord, const char* call)
{
    const QByteArray bytes(reinterpret_cast<const char*>(txtRecord), sizeof *txtRecord);
    if (bytes == QByteArray(int(sizeof *txtRecord), releasedRecord))
        misuse(QStringLiteral("%1 with a released TXT record").arg(QLatin1String(call)));
}

void updateReadiness(Operation& operation)
{
    const bool ready = operation.connectionBroken || !operation.replies.empty();
    if (!operation.ownsDescriptor || operation.released || ready == operation.readable)
        return;
    operation.readable = ready;
    if (ready)
        eventfd_write(operation.descriptor, 1);
    else {
        eventfd_t value;
        eventfd_read(operation.descriptor, &value);
    }
}

QString bytesText(std::uint16_t length, const void* bytes)
{
    return bytes
               ? QStringLiteral("'%1'").arg(QString::fromLatin1(
                     QByteArray(static_cast<const char*>(bytes), length).toPercentEncoding("= /", {}, '\\')))
               : QStringLiteral("null");
}

template <typename Callback>
std::unique_ptr<Operation> makeOperation(Operation::Kind kind, Callback callback, void* context)
{
    auto operation = std::make_unique<Operation>();
    operation->kind = kind;
    operation->context = context;
    operation->callback = reinterpret_cast<void (*)()>(callback);
    return operation;
}

const char* name(Operation::Kind kind)
{
    static const char* const names[] = {"DNSServiceRegister", "DNSServiceBrowse", "DNSServiceResolve",
                                        "DNSServiceGetAddrInfo", "DNSServiceQueryRecord"};
    return names[kind];
}

} // namespace

QString text(DNSServiceRef operation)
{
    return operation ? QStringLiteral("#%1").arg(operation->id) : QStringLiteral("null");
}

QString quoted(const char* string)
{
    return string ? QStringLiteral("'%1'").arg(QString::fromUtf8(string)) : QStringLiteral("null");
}

// --- The script ------------------------------------------------------------------------------------------

DnsSdDouble& DnsSdDouble::instance()
{
    static DnsSdDouble instance;
    return instance;
}

void DnsSdDouble::failNext(Operation::Kind kind, DNSServiceErrorType error, Handle handle)
{
    failures.push_back({kind, error, handle});
}

void DnsSdDouble::nextDescriptor(int descriptor)
{
    descriptors.push_back(descriptor);
}

void DnsSdDouble::queue(Operation* operation, std::function<void()> reply)
{
    operation->replies.push_back(std::move(reply));
    updateReadiness(*operation);
}

void DnsSdDouble::breakConnection(Operation* operation)
{
    operation->connectionBroken = true;
    updateReadiness(*operation);
}

Operation* DnsSdDouble::newest(Operation::Kind kind, const std::function<bool(const Operation&)>& suits) const
{
    const auto found = std::find_if(alive.rbegin(), alive.rend(), [&](const Operation* operation) {
        return operation->kind == kind && (!suits || suits(*operation));
    });
    return found == alive.rend() ? nullptr : *found;
}

Operation* DnsSdDouble::byDescriptor(int descriptor) const
{
    const auto found = std::find_if(alive.rbegin(), alive.rend(), [&](const Operation* operation) {
        return operation->descriptor == descriptor;
    });
    return found == alive.rend() ? nullptr : *found;
}

int DnsSdDouble::live(Operation::Kind kind) const
{
    return int(std::count_if(alive.begin(), alive.end(),
                             [&](const Operation* operation) { return operation->kind == kind; }));
}

bool DnsSdDouble::replyWaits() const
{
    return std::any_of(alive.begin(), alive.end(), [](const Operation* operation) {
        return operation->ownsDescriptor && !operation->replies.empty();
    });
}

void DnsSdDouble::release(Operation* operation)
{
    operation->released = true;
    operation->replies.clear();
    if (operation->ownsDescriptor)
        close(operation->descriptor);
    alive.erase(std::find(alive.begin(), alive.end(), operation));
}

void DnsSdDouble::finish()
{
    for (Operation* operation : alive)
        misuse(QStringLiteral("the handle %1 of %2 is left over")
                   .arg(text(operation), QLatin1String(name(operation->kind))));
    if (!failures.empty())
        misuse(QStringLiteral("%1 was to fail and never called").arg(QLatin1String(name(failures[0].kind))));
    abandon();
}

void DnsSdDouble::abandon()
{
    while (!alive.empty())
        release(alive.back());
    *this = DnsSdDouble();
}

// --- The calls -------------------------------------------------------------------------------------------

DNSServiceErrorType startOperation(DNSServiceRef* sdRef, std::unique_ptr<Operation> started,
                                   const QString& call)
{
    DnsSdDouble& self = DnsSdDouble::instance();
    Operation* const operation = started.get();
    operation->id = int(self.operations.size()) + 1;
    self.operations.push_back(std::move(started));
    if (*sdRef)
        misuse(QStringLiteral("%1 over the handle %2").arg(call, text(*sdRef)));

    DnsSdDouble::Handle handle = DnsSdDouble::Handle::Written;
    DNSServiceErrorType error = kDNSServiceErr_NoError;
    if (!self.failures.empty() && self.failures.front().kind == operation->kind) {
        error = self.failures.front().error;
        handle = self.failures.front().handle;
        self.failures.pop_front();
    }
    record(QStringLiteral("%1(%2%3%4)%5")
               .arg(QLatin1String(name(operation->kind)), text(operation),
                    call.isEmpty() ? QString() : QStringLiteral(", "), call,
                    error ? QStringLiteral(" = %1").arg(error) : QString()));
    if (handle == DnsSdDouble::Handle::Written) {
        if (self.descriptors.empty()) {
            operation->descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
            operation->ownsDescriptor = true;
        } else {
            operation->descriptor = self.descriptors.front();
            self.descriptors.pop_front();
        }
        self.alive.push_back(operation);
        *sdRef = operation;
    } else {
        operation->released = true;
        if (handle == DnsSdDouble::Handle::Null)
            *sdRef = nullptr;
    }
    if (self.onStart)
        self.onStart(operation);
    return error;
}

extern "C" {

DNSServiceErrorType DNSServiceRegister(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                       std::uint32_t interfaceIndex, const char* serviceName,
                                       const char* regtype, const char* domain, const char* host,
                                       std::uint16_t port, std::uint16_t txtLen, const void* txtRecord,
                                       DNSServiceRegisterReply callBack, void* context)
{
    auto operation = makeOperation(Operation::Register, callBack, context);
    operation->flags = flags;
    operation->interfaceIndex = interfaceIndex;
    operation->name = serviceName;
    operation->type = regtype;
    operation->port = port;
    std::uint8_t portBytes[2];
    std::memcpy(portBytes, &port, sizeof portBytes);
    return startOperation(
        sdRef, std::move(operation),
        QStringLiteral("flags=%1, if=%2, name=%3, type=%4, domain=%5, host=%6, port=%7 %8, txt=%9 %10")
            .arg(flags)
            .arg(interfaceIndex)
            .arg(quoted(serviceName), quoted(regtype), quoted(domain), quoted(host))
            .arg(portBytes[0], 2, 16, QLatin1Char('0'))
            .arg(portBytes[1], 2, 16, QLatin1Char('0'))
            .arg(txtLen)
            .arg(txtRecord ? QStringLiteral("bytes") : QStringLiteral("null")));
}

DNSServiceErrorType DNSServiceBrowse(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                     std::uint32_t interfaceIndex, const char* regtype, const char* domain,
                                     DNSServiceBrowseReply callBack, void* context)
{
    auto operation = makeOperation(Operation::Browse, callBack, context);
    operation->flags = flags;
    operation->interfaceIndex = interfaceIndex;
    operation->type = regtype;
    return startOperation(sdRef, std::move(operation),
                          QStringLiteral("flags=%1, if=%2, type=%3, domain=%4")
                              .arg(flags)
                              .arg(interfaceIndex)
                              .arg(quoted(regtype), quoted(domain)));
}

DNSServiceErrorType DNSServiceResolve(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                      std::uint32_t interfaceIndex, const char* serviceName,
                                      const char* regtype, const char* domain,
                                      DNSServiceResolveReply callBack, void* context)
{
    auto operation = makeOperation(Operation::Resolve, callBack, context);
    operation->flags = flags;
    operation->interfaceIndex = interfaceIndex;
    operation->name = serviceName;
    operation->type = regtype;
    return startOperation(sdRef, std::move(operation),
                          QStringLiteral("flags=%1, if=%2, name=%3, type=%4, domain=%5")
                              .arg(flags)
                              .arg(interfaceIndex)
                              .arg(quoted(serviceName), quoted(regtype), quoted(domain)));
}

DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          std::uint32_t interfaceIndex, DNSServiceProtocol protocol,
                                          const char* hostname, DNSServiceGetAddrInfoReply callBack,
                                          void* context)
{
    auto operation = makeOperation(Operation::GetAddrInfo, callBack, context);
    operation->flags = flags;
    operation->interfaceIndex = interfaceIndex;
    operation->protocol = protocol;
    operation->name = hostname;
    return startOperation(sdRef, std::move(operation),
                          QStringLiteral("flags=%1, if=%2, protocol=%3, host=%4")
                              .arg(flags)
                              .arg(interfaceIndex)
                              .arg(protocol)
                              .arg(quoted(hostname)));
}

DNSServiceErrorType DNSServiceQueryRecord(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          std::uint32_t interfaceIndex, const char* fullname,
                                          std::uint16_t rrtype, std::uint16_t rrclass,
                                          DNSServiceQueryRecordReply callBack, void* context)
{
    auto operation = makeOperation(Operation::QueryRecord, callBack, context);
    operation->flags = flags;
    operation->interfaceIndex = interfaceIndex;
    operation->name = fullname;
    return startOperation(sdRef, std::move(operation),
                          QStringLiteral("flags=0x%1, if=%2, name=%3, type=%4, class=%5")
                              .arg(QString::number(flags, 16))
                              .arg(interfaceIndex)
                              .arg(quoted(fullname))
                              .arg(rrtype)
                              .arg(rrclass));
}

int DNSServiceRefSockFD(DNSServiceRef sdRef)
{
    checkAlive(sdRef, "DNSServiceRefSockFD");
    record(QStringLiteral("DNSServiceRefSockFD(%1)").arg(text(sdRef)));
    return sdRef ? sdRef->descriptor : -1;
}

DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef sdRef)
{
    checkAlive(sdRef, "DNSServiceProcessResult");
    record(QStringLiteral("DNSServiceProcessResult(%1)").arg(text(sdRef)));
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    if (sdRef->connectionBroken)
        return kDNSServiceErr_ServiceNotRunning;
    if (sdRef->replies.empty())
        misuse(QStringLiteral("DNSServiceProcessResult(%1) would block: no reply waits").arg(text(sdRef)));
    do {
        const auto reply = std::move(sdRef->replies.front());
        sdRef->replies.pop_front();
        updateReadiness(*sdRef);
        Record::instance().add(Record::Reply, QStringLiteral("%1 replies").arg(text(sdRef)));
        reply();
    } while (DnsSdDouble::instance().draining && !sdRef->released && !sdRef->replies.empty());
    return kDNSServiceErr_NoError;
}

void DNSServiceRefDeallocate(DNSServiceRef sdRef)
{
    checkAlive(sdRef, "DNSServiceRefDeallocate");
    record(QStringLiteral("DNSServiceRefDeallocate(%1)").arg(text(sdRef)));
    if (sdRef)
        DnsSdDouble::instance().release(sdRef);
}

DNSServiceErrorType DNSServiceUpdateRecord(DNSServiceRef sdRef, DNSRecordRef recordRef, DNSServiceFlags flags,
                                           std::uint16_t rdlen, const void* rdata, std::uint32_t ttl)
{
    checkAlive(sdRef, "DNSServiceUpdateRecord");
    const DNSServiceErrorType error =
        sdRef ? DnsSdDouble::instance().updateError : DNSServiceErrorType(kDNSServiceErr_BadParam);
    record(QStringLiteral("DNSServiceUpdateRecord(%1, record=%2, flags=%3, rdata=%4 %5, ttl=%6)%7")
               .arg(text(sdRef), recordRef ? QStringLiteral("some") : QStringLiteral("null"))
               .arg(flags)
               .arg(rdlen)
               .arg(bytesText(rdlen, rdata))
               .arg(ttl)
               .arg(error ? QStringLiteral(" = %1").arg(error) : QString()));
    return error;
}

void TXTRecordCreate(TXTRecordRef* txtRecord, std::uint16_t bufferLen, void* buffer)
{
    record(QStringLiteral("TXTRecordCreate(%1, %2)")
               .arg(bufferLen)
               .arg(buffer ? QStringLiteral("buffer") : QStringLiteral("null")));
    genuineTXTRecordCreate(txtRecord, bufferLen, buffer);
}

void TXTRecordDeallocate(TXTRecordRef* txtRecord)
{
    checkRecord(txtRecord, "TXTRecordDeallocate");
    record(QStringLiteral("TXTRecordDeallocate()"));
    genuineTXTRecordDeallocate(txtRecord);
    std::memset(txtRecord, releasedRecord, sizeof *txtRecord);
}

DNSServiceErrorType TXTRecordSetValue(TXTRecordRef* txtRecord, const char* key, std::uint8_t valueSize,
                                      const void* value)
{
    checkRecord(txtRecord, "TXTRecordSetValue");
    record(QStringLiteral("TXTRecordSetValue(%1, %2 %3)")
               .arg(quoted(key))
               .arg(valueSize)
               .arg(bytesText(valueSize, value)));
    return genuineTXTRecordSetValue(txtRecord, key, valueSize, value);
}

DNSServiceErrorType TXTRecordRemoveValue(TXTRecordRef* txtRecord, const char* key)
{
    checkRecord(txtRecord, "TXTRecordRemoveValue");
    record(QStringLiteral("TXTRecordRemoveValue(%1)").arg(quoted(key)));
    return genuineTXTRecordRemoveValue(txtRecord, key);
}

std::uint16_t TXTRecordGetLength(const TXTRecordRef* txtRecord)
{
    checkRecord(txtRecord, "TXTRecordGetLength");
    Record::instance().add(Record::Pure, QStringLiteral("TXTRecordGetLength()"));
    return genuineTXTRecordGetLength(txtRecord);
}

const void* TXTRecordGetBytesPtr(const TXTRecordRef* txtRecord)
{
    checkRecord(txtRecord, "TXTRecordGetBytesPtr");
    Record::instance().add(Record::Pure, QStringLiteral("TXTRecordGetBytesPtr()"));
    return genuineTXTRecordGetBytesPtr(txtRecord);
}

DNSServiceErrorType TXTRecordGetItemAtIndex(std::uint16_t txtLen, const void* txtRecord,
                                            std::uint16_t itemIndex, std::uint16_t keyBufLen, char* key,
                                            std::uint8_t* valueLen, const void** value)
{
    Record::instance().add(Record::Pure, QStringLiteral("TXTRecordGetItemAtIndex(%1, %2, key buffer of %3)")
                                             .arg(txtLen)
                                             .arg(itemIndex)
                                             .arg(keyBufLen));
    if (DnsSdDouble::instance().itemError)
        return DnsSdDouble::instance().itemError;
    // A walk from the first item on is handed over as what is left of the record: the function itself starts
    // anew at each call, and 65535 items would take minutes under valgrind.
    static std::uint16_t offset = 0;
    static std::uint32_t nextIndex = 0;
    if (itemIndex == 0)
        offset = nextIndex = 0;
    const bool walks = itemIndex == nextIndex;
    const auto* rest = static_cast<const std::uint8_t*>(txtRecord) + (walks ? offset : 0);
    const DNSServiceErrorType error =
        genuineTXTRecordGetItemAtIndex(std::uint16_t(txtLen - (walks ? offset : 0)), rest,
                                       walks ? std::uint16_t(0) : itemIndex, keyBufLen, key, valueLen, value);
    if (walks && error != kDNSServiceErr_Invalid) {
        offset = std::uint16_t(offset + 1 + *rest);
        ++nextIndex;
    }
    return error;
}

} // extern "C"
