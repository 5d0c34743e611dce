// SPDX-License-Identifier: MIT
//
// The published calls in any order, inside callbacks too, while the network and the responder change and time
// passes. A model knows what each handle may hear; in the end all of them have to know what holds.
// Everything runs on one thread: the library's side moves in settle() and advance() alone.
#include "FakeBackend.h"
#include "Handle.h"
#include "InterfaceScope.h"
#include "ManualClock.h"
#include "NsecData.h"
#include "Records.h"
#include "Require.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <netinet/in.h>
#include <poll.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <map>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

unsigned long long steps = 0;

constexpr std::size_t MostHandles = 24;
constexpr std::size_t DeepestCallback = 3;
constexpr std::size_t LargestBatch = 64;
const char* const Names[] = {"Kitchen", "Hall", "Att.ic", "Kitchen (2)"};
const char* const Printer = "printer.local.";
const Labels Host{"hostb", "local"};

struct Handled
{
    enum Kind
    {
        Connection,
        Registration,
        Browse,
        Resolve,
        Addresses,
        Query,
        Domains,
        RegisteredRecord,
        AddedRecord
    };

    class Session* session;
    Kind kind;
    Handled* owner; ///< the connection that it shares, or the handle that a record belongs to
    DNSServiceFlags flags = 0;
    DNSServiceRef ref = nullptr;
    DNSRecordRef record = nullptr;
    bool isLive = true;
    bool hasEnded = false; ///< by an error: it is not to be called any more
    unsigned timeouts = 0;
    InterfaceScope scope{InterfaceScope::Links, 0};
    uint16_t type = 0;               ///< of a record, or of a query
    bool isForSubtype = false;       ///< a browse
    DNSServiceProtocol families{};   ///< of addresses
    std::set<std::string> present{}; ///< what it was told to be there
    std::string name{};              ///< that the application takes for registered
    std::string data{};              ///< of a record, or a service's TXT record

    bool isRecord() const { return kind == RegisteredRecord || kind == AddedRecord; }
    /// What its replies wait with.
    Handled& line() { return owner ? owner->line() : *this; }
};

bool isReadable(DNSServiceRef ref)
{
    pollfd descriptor{DNSServiceRefSockFD(ref), POLLIN, 0};
    require(descriptor.fd >= 0);
    return poll(&descriptor, 1, 0) == 1;
}

std::string place(uint32_t interface, const std::string& rest)
{
    return std::to_string(interface) + ' ' + rest;
}

/// What a run of the fuzzer does, and what it has to hold of.
class Session
{
public:
    explicit Session(FuzzedDataProvider& input)
        : m_input(input)
    {
        setProcessEngine(m_engine);
        m_backend.change(Backend::State::Running);
        settle();
    }
    ~Session() { setProcessEngine(nullptr); }

    void run()
    {
        while (m_input.remaining_bytes() > 0) {
            ++steps;
            step();
        }
        calmDown();
        requireThatAllKnowWhatHolds();
        releaseAll();
        requireThatNothingIsLeft();
    }

    // --- What callbacks tell ------------------------------------------------------------------------------

    void called(Handled& handled, DNSServiceFlags flags, DNSServiceErrorType error)
    {
        require(handled.isLive && !handled.hasEnded);
        const auto& line = handled.line();
        require(std::find(m_processed.begin(), m_processed.end(), &line) != m_processed.end());
        require(isReadable(line.ref) == ((flags & kDNSServiceFlagsMoreComing) != 0));
        m_isMoreComing = (flags & kDNSServiceFlagsMoreComing) != 0;
        m_actionsBeforeCall = m_actions;
        ++m_calls;
        switch (error) {
        case kDNSServiceErr_NoError:
            break;
        case kDNSServiceErr_Timeout:
            require((handled.flags & kDNSServiceFlagsTimeout) != 0);
            require(handled.kind == Handled::Query || handled.kind == Handled::Addresses);
            require(++handled.timeouts <= (handled.kind == Handled::Query ? 1U : 2U));
            break;
        case kDNSServiceErr_NoSuchRecord:
            require(handled.kind == Handled::Query);
            require((handled.flags & kDNSServiceFlagsReturnIntermediates) != 0);
            break;
        case kDNSServiceErr_NameConflict:
            require(handled.kind == Handled::RegisteredRecord ||
                    (handled.kind == Handled::Registration &&
                     (handled.flags & kDNSServiceFlagsNoAutoRename) != 0));
            handled.hasEnded = true;
            break;
        default:
            require(error == kDNSServiceErr_Refused || error == kDNSServiceErr_NotPermitted ||
                    error == kDNSServiceErr_BadParam || error == kDNSServiceErr_Unknown);
            handled.hasEnded = true;
        }
    }

    /// What the application does in the callback.
    void act()
    {
        if (m_input.remaining_bytes() > 0 && m_input.ConsumeIntegralInRange(0, 3) == 0) {
            ++steps;
            step();
        }
    }

private:
    // --- Steps ---------------------------------------------------------------------------------------------

    void step()
    {
        ++m_actions;
        switch (m_input.ConsumeIntegralInRange(0, 27)) {
        case 0:
            return connect();
        case 1:
        case 2:
            return registerService();
        case 3:
        case 4:
            return browse();
        case 5:
            return resolve();
        case 6:
            return findAddresses();
        case 7:
            return query();
        case 8:
            return enumerateDomains();
        case 9:
        case 10:
            return registerRecord();
        case 11:
            return addRecord();
        case 12:
            return update();
        case 13:
            return removeRecord();
        case 14:
            return reconfirm();
        case 15:
            return release();
        case 16:
        case 17:
            return process();
        case 18:
            return settle();
        case 19:
            return advance();
        case 20:
        case 21:
        case 22:
            return changeRecord();
        case 23:
            return changeState();
        case 24:
            return changeTakenNames();
        case 25:
            return collide();
        case 26:
            return fail();
        default:
            return changeRules();
        }
    }

    std::string anyName() { return m_input.PickValueInArray(Names); }

    uint32_t anyInterface()
    {
        return m_input.PickValueInArray<uint32_t>(
            {0, 0, 0, 0, Lan1, Lan2, Loopback, kDNSServiceInterfaceIndexLocalOnly,
             kDNSServiceInterfaceIndexP2P, kDNSServiceInterfaceIndexBLE, kDNSServiceInterfaceIndexInfra,
             kDNSServiceInterfaceIndexUnicast, 0x80000001});
    }

    const char* anyType()
    {
        return m_input.PickValueInArray(
            {"_demo._tcp", "_demo._tcp", "_demo._tcp", "_demo._tcp,_sub", "_other._udp", "demo", ""});
    }

    std::string anyTxt()
    {
        const auto text = m_input.PickValueInArray({"a=1", "a=2", "b", ""});
        return static_cast<char>(std::strlen(text)) + std::string(text);
    }

    /// One that is there; null if there is none such.
    template <typename Wanted>
    Handled* any(Wanted isWanted)
    {
        std::vector<Handled*> choice;
        for (Handled& handled : m_handles) {
            if (handled.isLive && isWanted(handled))
                choice.push_back(&handled);
        }
        return choice.empty() ? nullptr
                              : choice[m_input.ConsumeIntegralInRange<std::size_t>(0, choice.size() - 1)];
    }
    Handled* anyHandle()
    {
        return any([](const Handled& handled) { return !handled.isRecord(); });
    }

    std::size_t countLive() const
    {
        return static_cast<std::size_t>(std::count_if(m_handles.begin(), m_handles.end(),
                                                      [](const Handled& handled) { return handled.isLive; }));
    }

    /// Makes a start call, `start(&ref, flags, handled)`, for itself or on whatever handle.
    template <typename Start>
    void begin(Handled::Kind kind, DNSServiceFlags flags, Start start)
    {
        if (countLive() >= MostHandles)
            return;
        Handled* owner = nullptr;
        bool isShared = false;
        switch (m_input.ConsumeIntegralInRange(0, 4)) {
        case 0:
        case 1:
            break;
        case 2:
            isShared = true;
            owner = anyHandle();
            break;
        default:
            owner = any([](const Handled& handled) { return handled.kind == Handled::Connection; });
            isShared = owner != nullptr;
        }
        if (isShared)
            flags |= kDNSServiceFlagsShareConnection;
        m_handles.push_back({this, kind, owner});
        Handled& handled = m_handles.back();
        handled.flags = flags;
        handled.ref = owner ? owner->ref : nullptr;
        const DNSServiceErrorType error = start(&handled.ref, flags, handled);
        handled.isLive = error == kDNSServiceErr_NoError;
        require(handled.isLive == (handled.ref != nullptr));
        if (isShared && !owner)
            require(error == kDNSServiceErr_BadParam);
        else if (isShared && owner->kind != Handled::Connection)
            require(error == kDNSServiceErr_BadReference);
        else
            require(error == kDNSServiceErr_NoError || error == kDNSServiceErr_BadParam);
        if (handled.isLive)
            require(DNSServiceRefSockFD(handled.ref) == DNSServiceRefSockFD(handled.line().ref));
    }

    void connect()
    {
        if (countLive() >= MostHandles)
            return;
        m_handles.push_back({this, Handled::Connection, nullptr});
        require(DNSServiceCreateConnection(&m_handles.back().ref) == kDNSServiceErr_NoError);
    }

    void registerService()
    {
        const DNSServiceFlags flags = m_input.ConsumeBool() ? kDNSServiceFlagsNoAutoRename : 0;
        begin(Handled::Registration, flags, [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
            const uint32_t interface = anyInterface();
            const char* type = anyType();
            handled.data = anyTxt();
            return DNSServiceRegister(ref, all, interface, anyName().c_str(), type, nullptr, nullptr, 80,
                                      static_cast<uint16_t>(handled.data.size()), handled.data.data(),
                                      onRegister, &handled);
        });
    }

    void browse()
    {
        begin(Handled::Browse, 0, [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
            const uint32_t interface = anyInterface();
            const std::string type = anyType();
            handled.scope = InterfaceScope::of(interface);
            handled.isForSubtype = type == "_demo._tcp,_sub";
            handled.type = handled.isForSubtype || type == "_demo._tcp" ? kDNSServiceType_PTR : 0;
            return DNSServiceBrowse(ref, all, interface, type.c_str(), nullptr, onBrowse, &handled);
        });
    }

    void resolve()
    {
        begin(Handled::Resolve, 0, [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
            const uint32_t interface = anyInterface();
            return DNSServiceResolve(ref, all, interface, anyName().c_str(), "_demo._tcp", "local", onResolve,
                                     &handled);
        });
    }

    void findAddresses()
    {
        const DNSServiceFlags flags = m_input.ConsumeBool() ? kDNSServiceFlagsTimeout : 0;
        begin(Handled::Addresses, flags, [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
            const uint32_t interface = anyInterface();
            const auto protocol = m_input.ConsumeIntegralInRange<DNSServiceProtocol>(0, 4);
            handled.scope = InterfaceScope::of(interface);
            handled.families = protocol == 0 ? 3 : protocol;
            return DNSServiceGetAddrInfo(ref, all, interface, protocol, "hostb.local", onAddress, &handled);
        });
    }

    void query()
    {
        DNSServiceFlags flags = m_input.ConsumeBool() ? kDNSServiceFlagsTimeout : 0;
        flags |= m_input.ConsumeBool() ? kDNSServiceFlagsReturnIntermediates : 0;
        begin(Handled::Query, flags, [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
            const uint32_t interface = anyInterface();
            handled.scope = InterfaceScope::of(interface);
            handled.type = m_input.PickValueInArray<uint16_t>({kDNSServiceType_A, kDNSServiceType_AAAA,
                                                               kDNSServiceType_TXT, kDNSServiceType_ANY,
                                                               kDNSServiceType_NSEC});
            handled.name = handled.type == kDNSServiceType_TXT ? "Kitchen._demo._tcp.local." : "hostb.local.";
            return DNSServiceQueryRecord(ref, all, interface, handled.name.c_str(), handled.type,
                                         kDNSServiceClass_IN, onRecord, &handled);
        });
    }

    void enumerateDomains()
    {
        begin(Handled::Domains, kDNSServiceFlagsBrowseDomains,
              [&](DNSServiceRef* ref, DNSServiceFlags all, Handled& handled) {
                  return DNSServiceEnumerateDomains(ref, all, anyInterface(), onDomain, &handled);
              });
    }

    void registerRecord()
    {
        Handled* owner = anyHandle();
        if (!owner || countLive() >= MostHandles)
            return;
        m_handles.push_back({this, Handled::RegisteredRecord, owner});
        Handled& handled = m_handles.back();
        handled.flags = m_input.PickValueInArray<DNSServiceFlags>(
            {kDNSServiceFlagsShared, kDNSServiceFlagsUnique, kDNSServiceFlagsKnownUnique, 0,
             kDNSServiceFlagsShared | kDNSServiceFlagsUnique});
        handled.type = m_input.PickValueInArray<uint16_t>(
            {kDNSServiceType_A, kDNSServiceType_TXT, kDNSServiceType_NULL, kDNSServiceType_ANY});
        handled.data = anyTxt();
        const DNSServiceErrorType error = DNSServiceRegisterRecord(
            owner->ref, &handled.record, handled.flags, anyInterface(), Printer, handled.type,
            kDNSServiceClass_IN, static_cast<uint16_t>(handled.data.size()), handled.data.data(), 0,
            onRegisteredRecord, &handled);
        handled.isLive = error == kDNSServiceErr_NoError;
        require(handled.isLive == (handled.record != nullptr));
        require(handled.isLive || error == kDNSServiceErr_BadParam || error == kDNSServiceErr_BadReference);
        require((owner->kind != Handled::Connection) == (error == kDNSServiceErr_BadReference));
    }

    void addRecord()
    {
        Handled* owner = anyHandle();
        if (!owner || countLive() >= MostHandles)
            return;
        m_handles.push_back({this, Handled::AddedRecord, owner});
        Handled& handled = m_handles.back();
        handled.type = m_input.PickValueInArray<uint16_t>(
            {kDNSServiceType_TXT, kDNSServiceType_NULL, kDNSServiceType_HINFO});
        handled.data = anyTxt();
        const DNSServiceErrorType error =
            DNSServiceAddRecord(owner->ref, &handled.record, 0, handled.type,
                                static_cast<uint16_t>(handled.data.size()), handled.data.data(), 0);
        handled.isLive = error == kDNSServiceErr_NoError;
        require(handled.isLive == (handled.record != nullptr));
        if (owner->kind != Handled::Registration)
            require(error == kDNSServiceErr_BadReference);
        else if (handled.type == kDNSServiceType_HINFO)
            require(error == kDNSServiceErr_BadParam);
        else if (!owner->name.empty())
            require(error == kDNSServiceErr_NoError);
        else
            require(error == kDNSServiceErr_NoError || error == kDNSServiceErr_BadParam);
    }

    void update()
    {
        Handled* handled = any([](const Handled&) { return true; });
        if (!handled)
            return;
        const std::string data = anyTxt();
        const DNSServiceRef ref = handled->isRecord() ? handled->owner->ref : handled->ref;
        const DNSServiceErrorType error = DNSServiceUpdateRecord(
            ref, handled->record, 0, static_cast<uint16_t>(data.size()), data.data(), 0);
        const bool isPublished = handled->isRecord() || handled->kind == Handled::Registration;
        require(error == (isPublished ? kDNSServiceErr_NoError : kDNSServiceErr_BadReference));
        if (isPublished)
            handled->data = data;
    }

    /// A record that is there, or has been removed, of the handle that it belongs to, or of another one.
    void removeRecord()
    {
        Handled* owner = anyHandle();
        if (!owner)
            return;
        std::vector<Handled*> records;
        for (Handled& handled : m_handles) {
            if (handled.record)
                records.push_back(&handled);
        }
        if (records.empty()) {
            require(DNSServiceRemoveRecord(owner->ref, nullptr, 0) == kDNSServiceErr_BadParam);
            return;
        }
        Handled& record = *records[m_input.ConsumeIntegralInRange<std::size_t>(0, records.size() - 1)];
        if (record.isLive && m_input.ConsumeBool())
            owner = record.owner;
        // Another record may be where one lay that has been removed.
        Handled* meant = nullptr;
        for (Handled& handled : m_handles) {
            if (handled.isLive && handled.record == record.record && handled.owner == owner)
                meant = &handled;
        }
        const DNSServiceErrorType error = DNSServiceRemoveRecord(owner->ref, record.record, 0);
        require(error == (meant ? kDNSServiceErr_NoError : kDNSServiceErr_BadReference));
        if (meant)
            meant->isLive = false;
    }

    void reconfirm()
    {
        const DNSServiceErrorType error = DNSServiceReconfirmRecord(
            0, anyInterface(), "hostb.local.", kDNSServiceType_A, kDNSServiceClass_IN, 4, "\x0A\x01\x01\x02");
        require(error == kDNSServiceErr_NoError || error == kDNSServiceErr_BadParam ||
                error == kDNSServiceErr_Unsupported);
    }

    void release()
    {
        if (Handled* handled = anyHandle())
            release(*handled);
    }

    void release(Handled& released)
    {
        DNSServiceRefDeallocate(released.ref);
        for (Handled& handled : m_handles) {
            for (const Handled* owner = &handled; owner; owner = owner->owner) {
                if (owner == &released)
                    handled.isLive = false;
            }
        }
    }

    void process()
    {
        if (Handled* handled = anyHandle())
            process(*handled);
    }

    /// Nothing is handed over that does not wait, and what waits is, in batches.
    void process(Handled& handled)
    {
        Handled& line = handled.line();
        if (m_processed.size() >= DeepestCallback || !isReadable(handled.ref))
            return;
        const auto callsBefore = m_calls;
        m_processed.push_back(&line);
        require(DNSServiceProcessResult(handled.ref) == kDNSServiceErr_NoError);
        m_processed.pop_back();
        require(m_calls > callsBefore);
        if (m_actions == m_actionsBeforeCall) {
            require(isReadable(line.ref) == m_isMoreComing);
            require(m_calls - callsBefore <= LargestBatch);
        }
    }

    void settle()
    {
        m_engine->loop().runUntilIdle();
        m_engine->replySignals().flush();
        requireThatItAddsUp();
    }

    void advance()
    {
        const auto time =
            m_input.PickValueInArray<std::chrono::milliseconds>({1ms, 3ms, 50ms, 300ms, 1100ms, 5100ms});
        m_clock.advance(m_engine->loop(), time);
        settle();
    }

    // --- The responder and the network --------------------------------------------------------------------

    Record anyRecord()
    {
        const std::string name = anyName();
        const auto interface = m_input.PickValueInArray({Lan1, Lan2, Loopback});
        switch (m_input.ConsumeIntegralInRange(0, 8)) {
        case 0:
        case 1:
            return instancePointer(name, interface);
        case 2:
            return pointer(Labels{"_sub", "_sub"} + DemoType, Labels{name} + DemoType, interface);
        case 3:
            return tests::service(name, Host, 8080, interface);
        case 4:
            return txtOf(name, anyTxt(), interface);
        case 5:
            return address(kDNSServiceType_A, {10, 1, 1, 2}, interface);
        case 6:
            return address(kDNSServiceType_A, {10, 1, 1, 3}, interface);
        case 7:
            return address(kDNSServiceType_AAAA, std::string("\xFE\x80", 2) + std::string(14, '\1'),
                           interface);
        default: // denies all types but A
            return address(kDNSServiceType_NSEC, toWire(Host) + std::string("\0\1\x40", 3), interface);
        }
    }

    void changeRecord()
    {
        const Record record = anyRecord();
        const Transport transport = m_input.ConsumeBool() ? Transport::IPv4 : Transport::IPv6;
        const std::string key = place(record.interface, toText(record.name) + std::to_string(record.type)) +
                                record.data + (transport == Transport::IPv4 ? '4' : '6');
        if (m_known.erase(key) > 0) {
            m_backend.go(record, transport);
        } else {
            m_known.emplace(key, record);
            m_backend.come(record, transport);
        }
    }

    void changeState()
    {
        using State = Backend::State;
        switch (m_input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return m_backend.change(State::Absent);
        case 1: // what is asked of it before it has said that it goes
            m_engine->loop().post([this] { m_backend.failStarts(BackendError::Unavailable); });
            m_backend.change(State::Absent);
            return m_engine->loop().post([this] { m_backend.failStarts(BackendError::None); });
        case 2:
            m_backend.change(State::Absent); // a responder does not cease to publish without going
            return m_backend.change(State::Answering);
        default:
            return m_backend.change(State::Running);
        }
    }

    void changeTakenNames()
    {
        std::set<std::string> names;
        while (names.size() < 3 && m_input.ConsumeBool())
            names.insert(m_input.ConsumeBool() ? anyName() : Printer);
        m_engine->loop().post([this, names, isHere = m_input.ConsumeBool()] {
            if (isHere)
                m_backend.takeHere(names);
            else
                m_backend.takeElsewhere(names);
        });
    }

    void collide()
    {
        const std::string name = m_input.ConsumeBool() ? anyName() : Printer;
        m_engine->loop().post([this, name] { m_backend.collide(name); });
    }

    BackendError anyFailure()
    {
        return m_input.PickValueInArray(
            {BackendError::Refused, BackendError::NotPermitted, BackendError::BadName, BackendError::Failed});
    }

    void fail()
    {
        const BackendError error = anyFailure();
        const std::string name = anyName();
        const auto choice = m_input.ConsumeIntegralInRange(0, 3);
        m_engine->loop().post([this, error, name, choice] {
            switch (choice) {
            case 0:
                return m_backend.failQueries(DemoType, error);
            case 1:
                return m_backend.failQueries(Host, error);
            case 2:
                return m_backend.failPublications(Printer, error);
            default:
                return m_backend.failPublications(name, error);
            }
        });
    }

    void changeRules()
    {
        const BackendError error = m_input.ConsumeBool() ? BackendError::None : anyFailure();
        const auto bits = m_input.ConsumeIntegralInRange(0, 7);
        m_engine->loop().post([this, error, bits] {
            m_backend.failStarts(error);
            m_backend.setCanResolveOnce((bits & 1) == 0);
            m_backend.setFailingResolves((bits & 2) != 0);
            m_backend.setNeverExhausted((bits & 4) != 0);
        });
    }

    // --- What has to hold
    // -----------------------------------------------------------------------------------

    template <typename Counted>
    std::size_t count(Counted isCounted) const
    {
        return static_cast<std::size_t>(
            std::count_if(m_handles.begin(), m_handles.end(),
                          [&](const Handled& handled) { return handled.isLive && isCounted(handled); }));
    }

    /// Once everything has been done that can be before time goes on.
    void requireThatItAddsUp()
    {
        require(m_backend.isInUse() == (countLive() > 0));
        require(m_backend.standing().size() <=
                count([](const Handled& handled) { return handled.kind == Handled::Registration; }));
        require(m_backend.records().size() <=
                count([](const Handled& handled) { return handled.isRecord(); }));
        for (const Handled& handled : m_handles) {
            if (handled.isLive && !handled.owner && !isReadable(handled.ref))
                require(!handled.ref->running.replies()->takeWaiting());
        }
    }

    void drainAll()
    {
        for (Handled& handled : m_handles) {
            while (handled.isLive && !handled.owner && isReadable(handled.ref))
                process(handled);
        }
    }

    void calmDown()
    {
        m_engine->loop().post([this] {
            m_backend.takeHere({});
            m_backend.takeElsewhere({});
            m_backend.failStarts(BackendError::None);
            m_backend.setCanResolveOnce(true);
            m_backend.setNeverExhausted(false);
        });
        m_backend.change(Backend::State::Running);
        settle();
        m_clock.advance(m_engine->loop(), 20s);
        settle();
        drainAll();
    }

    void requireThatAllKnowWhatHolds()
    {
        std::size_t registrations = 0;
        std::size_t records = 0;
        std::size_t lonelyRecords = 0;
        for (const Handled& handled : m_handles) {
            if (!handled.isLive || handled.hasEnded)
                continue;
            switch (handled.kind) {
            case Handled::Registration:
                ++registrations;
                requireThatItStands(handled);
                break;
            case Handled::RegisteredRecord:
                ++records;
                requireThatItIsPublished(handled, Printer);
                break;
            case Handled::AddedRecord: // what the responder has refused stays away, and nothing tells
                ++lonelyRecords;
                break;
            case Handled::Browse:
                if (handled.type == kDNSServiceType_PTR)
                    requireThatItKnows(handled, expectedInstances(handled));
                break;
            case Handled::Addresses:
                if (handled.scope.kind == InterfaceScope::Links)
                    requireThatItKnows(handled, expectedAddresses(handled));
                break;
            case Handled::Query:
                if (handled.scope.kind == InterfaceScope::Links && handled.type != kDNSServiceType_TXT)
                    requireThatItKnows(handled, expectedRecords(handled));
                break;
            default:
                break;
            }
        }
        require(m_backend.standing().size() == registrations);
        require(m_backend.records().size() >= records);
        require(m_backend.records().size() <= records + lonelyRecords);
    }

    void requireThatItStands(const Handled& registration)
    {
        const auto services = m_backend.standing();
        require(std::any_of(services.begin(), services.end(), [&](const Service& service) {
            return service.name == registration.name && service.txt == registration.data;
        }));
    }

    void requireThatItIsPublished(const Handled& handled, const std::string& name)
    {
        const auto records = m_backend.records();
        require(std::any_of(records.begin(), records.end(), [&](const PublishedRecord& record) {
            return toText(record.name) == name && record.type == handled.type && record.data == handled.data;
        }));
    }

    /// Whether loopback counts depends on the machine.
    static void requireThatItKnows(const Handled& handled, const std::set<std::string>& expected)
    {
        std::set<std::string> known;
        for (const std::string& one : handled.present) {
            if (handled.scope.kind == InterfaceScope::ThisHost || one.compare(0, 2, "1 ") != 0 ||
                handled.scope.interface == Loopback)
                known.insert(one);
        }
        require(known == expected);
    }

    /// Whether a record answers what was asked on that interface, 0 being any.
    static bool isOn(uint32_t interface, const Record& record)
    {
        return interface == 0 ? record.interface != Loopback : record.interface == interface;
    }

    std::set<std::string> expectedInstances(const Handled& browse) const
    {
        const Labels type = browse.isForSubtype ? Labels{"_sub", "_sub"} + DemoType : DemoType;
        std::set<std::string> expected;
        for (const auto& [key, record] : m_known) {
            std::string_view wire = record.data;
            if (record.type == kDNSServiceType_PTR && record.name == type &&
                isOn(browse.scope.interface, record))
                expected.insert(place(browse.scope.reported(record.interface), readWireName(wire)->front()));
        }
        return expected;
    }

    std::set<std::string> expectedAddresses(const Handled& addresses) const
    {
        std::set<std::string> expected;
        for (const auto& [key, record] : m_known) {
            const bool isWanted =
                (record.type == kDNSServiceType_A && (addresses.families & kDNSServiceProtocol_IPv4)) ||
                (record.type == kDNSServiceType_AAAA && (addresses.families & kDNSServiceProtocol_IPv6));
            if (isWanted && isOn(addresses.scope.existingInterface(), record))
                expected.insert(place(record.interface, record.data));
        }
        return expected;
    }

    std::set<std::string> expectedRecords(const Handled& query) const
    {
        std::set<std::string> expected;
        for (const auto& [key, record] : m_known) {
            const bool isWanted = query.type == kDNSServiceType_ANY ? record.type == kDNSServiceType_A ||
                                                                          record.type == kDNSServiceType_AAAA
                                                                    : record.type == query.type;
            if (isWanted && record.name == Host && isOn(query.scope.existingInterface(), record))
                expected.insert(place(record.interface, record.data));
        }
        return expected;
    }

    void releaseAll()
    {
        while (Handled* handled = anyHandle())
            release(*handled);
    }

    void requireThatNothingIsLeft()
    {
        settle();
        require(m_backend.standing().empty());
        require(m_backend.records().empty());
        m_clock.advance(m_engine->loop(), 10s);
        require(m_backend.queries() == 0);
        require(!m_backend.isInUse());
        require(!m_engine->loop().timers().nextDeadline());
    }

    // --- Callbacks
    // ------------------------------------------------------------------------------------------

    /// What comes may be told again; what goes was there.
    static void keep(Handled& handled, bool isAdd, bool mayRepeat, const std::string& what)
    {
        if (isAdd)
            require(handled.present.insert(what).second || mayRepeat);
        else
            require(handled.present.erase(what) == 1);
    }

    static Handled& told(void* context, DNSServiceRef ref, DNSServiceFlags flags, DNSServiceErrorType error)
    {
        auto& handled = *static_cast<Handled*>(context);
        require(ref == (handled.isRecord() ? handled.owner->ref : handled.ref));
        handled.session->called(handled, flags, error);
        return handled;
    }

    static void onRegister(DNSServiceRef ref, DNSServiceFlags flags, DNSServiceErrorType error,
                           const char* name, const char* type, const char* domain, void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        require(std::strcmp(domain, "local.") == 0 && type);
        if (error == kDNSServiceErr_NoError && (flags & kDNSServiceFlagsAdd)) {
            require(handled.name.empty());
            handled.name = name;
        } else if (error == kDNSServiceErr_NoError) {
            require(handled.name == name);
            handled.name.clear();
        } else {
            require(handled.name.empty());
        }
        handled.session->act();
    }

    static void onBrowse(DNSServiceRef ref, DNSServiceFlags flags, uint32_t interface,
                         DNSServiceErrorType error, const char* name, const char* type, const char* domain,
                         void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        if (error == kDNSServiceErr_NoError) {
            require(std::strcmp(type, "_demo._tcp.") == 0 && std::strcmp(domain, "local.") == 0);
            keep(handled, (flags & kDNSServiceFlagsAdd) != 0, false, place(interface, name));
        }
        handled.session->act();
    }

    static void onResolve(DNSServiceRef ref, DNSServiceFlags flags, uint32_t, DNSServiceErrorType error,
                          const char*, const char* host, uint16_t port, uint16_t, const unsigned char*,
                          void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        if (error == kDNSServiceErr_NoError)
            require(std::strcmp(host, "hostb.local.") == 0 && ntohs(port) == 8080);
        handled.session->act();
    }

    static void onAddress(DNSServiceRef ref, DNSServiceFlags flags, uint32_t interface,
                          DNSServiceErrorType error, const char*, const sockaddr* address, uint32_t,
                          void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        if (error == kDNSServiceErr_NoError) {
            const std::string data =
                address->sa_family == AF_INET
                    ? std::string(reinterpret_cast<const char*>(
                                      &reinterpret_cast<const sockaddr_in*>(address)->sin_addr),
                                  4)
                    : std::string(reinterpret_cast<const char*>(
                                      &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr),
                                  16);
            keep(handled, (flags & kDNSServiceFlagsAdd) != 0, true, place(interface, data));
        }
        handled.session->act();
    }

    static void onRecord(DNSServiceRef ref, DNSServiceFlags flags, uint32_t interface,
                         DNSServiceErrorType error, const char*, uint16_t, uint16_t, uint16_t size,
                         const void* data, uint32_t, void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        if (error == kDNSServiceErr_NoError)
            keep(handled, (flags & kDNSServiceFlagsAdd) != 0, true,
                 place(interface, std::string(static_cast<const char*>(data), size)));
        handled.session->act();
    }

    static void onDomain(DNSServiceRef ref, DNSServiceFlags flags, uint32_t, DNSServiceErrorType error,
                         const char* domain, void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        require(error == kDNSServiceErr_NoError && std::strcmp(domain, "local.") == 0);
        handled.session->act();
    }

    static void onRegisteredRecord(DNSServiceRef ref, DNSRecordRef record, DNSServiceFlags flags,
                                   DNSServiceErrorType error, void* context)
    {
        Handled& handled = told(context, ref, flags, error);
        require(record == handled.record);
        if (error == kDNSServiceErr_NoError)
            keep(handled, true, false, "registered");
        handled.session->act();
    }

    FuzzedDataProvider& m_input;
    ManualClock m_clock;
    std::shared_ptr<Engine> m_engine =
        std::make_shared<Engine>(m_clock, [](EventLoop& loop, Backend::StateListener& listener) {
            return std::make_unique<FakeBackend>(loop, listener);
        });
    FakeBackend& m_backend = FakeBackend::last();
    std::deque<Handled> m_handles; ///< all that there ever were
    std::multimap<std::string, Record> m_known;
    std::vector<const Handled*> m_processed; ///< lines, the innermost call last
    std::size_t m_calls = 0;
    std::size_t m_actions = 0;
    std::size_t m_actionsBeforeCall = 0;
    bool m_isMoreComing = false;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::atexit([] { std::fprintf(stderr, "stat::steps: %llu\n", steps); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    Session(input).run();
    return 0;
}
