// SPDX-License-Identifier: MIT
//
// Listers and advertisers on a DNS-SD library that is a script: made and destroyed, answered with any
// arguments, timed out, deleted in slots and in event loops inside slots, in any order. A model says what
// each lister has to hold after every step, and what has to be told in between.
#include "BonjourAdvertiser.h"
#include "BonjourLister.h"
#include "DnsSdDouble.h"
#include "LibraryModel.h"
#include "Record.h"
#include "Require.h"

#include <QCoreApplication>
#include <QTimer>
#include <QTimerEvent>
#include <QtEndian>
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>
#include <memory>
#include <netinet/in.h>
#include <set>

using namespace fuzz;
using vesk::dnssd::require;
using Op = DnsSdDouble::Operation;

namespace {

unsigned long long steps = 0;

constexpr int deepestLoop = 3;
constexpr int mostOperations = 40;

struct Lister
{
    std::unique_ptr<BonjourLister> real;
    ModelLister model;
};

struct Advertiser
{
    std::unique_ptr<BonjourAdvertiser> real;
    QString toldHost;
    std::optional<ModelResolver> self;
};

/// A reply on its way through the library.
struct Delivery
{
    const Op* operation;
    const void* owner; ///< lister or advertiser; null once it was deleted
    Key key;
    std::optional<QString> toBeTold;
};

template <typename Callback>
Callback callbackOf(const Op* operation)
{
    return reinterpret_cast<Callback>(operation->callback);
}

class Session
{
public:
    explicit Session(FuzzedDataProvider& given)
        : input(given)
    {
        daemon.onStart = [this](Op* operation) { operationStarted(operation); };
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    ~Session()
    {
        for (Lister& lister : listers)
            destroy(lister);
        for (Advertiser& advertiser : advertisers)
            destroy(advertiser);
        require(daemon.live() == 0);
        daemon.abandon();
        Record::instance().clear();
    }

    void run()
    {
        while (input.remaining_bytes() > 0) {
            ++steps;
            step();
            Record::instance().clear();
            check();
        }
    }

private:
    // --- Steps -------------------------------------------------------------------------------------------

    void step()
    {
        switch (input.ConsumeIntegralInRange(0, 15)) {
        case 0:
            return makeLister(pick(listers));
        case 1:
            return makeAdvertiser(pick(advertisers));
        case 2:
            return input.ConsumeBool() ? destroy(pick(listers)) : destroy(pick(advertisers));
        case 3:
            return edit(pick(advertisers));
        case 4:
            return failNextStart();
        case 5:
            return daemon.setDraining(input.ConsumeBool());
        case 6:
            return timeOut();
        case 7:
            return breakConnection();
        case 8:
            inSlot = input.ConsumeIntegralInRange(0, 6);
            return;
        case 9:
            log4cplus::Logger::getRoot().setLogLevel(input.ConsumeBool() ? log4cplus::TRACE_LOG_LEVEL
                                                                         : log4cplus::OFF_LOG_LEVEL);
            return;
        case 10:
            return runLoop();
        default:
            queueReply();
            if (input.ConsumeIntegralInRange(0, 3) != 0)
                runLoop();
        }
    }

    template <typename Item, std::size_t Count>
    Item& pick(std::array<Item, Count>& all)
    {
        return all[input.ConsumeIntegralInRange<std::size_t>(0, Count - 1)];
    }

    void makeLister(Lister& lister)
    {
        destroy(lister);
        lister.real = std::make_unique<BonjourLister>(
            nullptr, QStringLiteral("_demo._tcp"),
            static_cast<MDnsProtocolType>(input.ConsumeIntegralInRange(-1, 2)));
        QObject::connect(lister.real.get(), &MDnsLister::clientChanged,
                         [this, owner = lister.real.get()](const QString& name) { told(owner, name); });
        QObject::connect(lister.real.get(), &MDnsLister::clientRemoved,
                         [this, owner = lister.real.get()](const QString& name) { told(owner, name); });
    }

    void makeAdvertiser(Advertiser& advertiser)
    {
        destroy(advertiser);
        advertiser.real = std::make_unique<BonjourAdvertiser>(nullptr, text(), text(), 8080);
        QObject::connect(advertiser.real.get(), &MDnsAdvertiser::nameRegistered,
                         [this, owner = advertiser.real.get()](const QString& name) { told(owner, name); });
        advertiser.real->start();
    }

    void edit(Advertiser& advertiser)
    {
        if (!advertiser.real)
            return;
        switch (input.ConsumeIntegralInRange(0, 4)) {
        case 0:
            return advertiser.real->start();
        case 1:
            return advertiser.real->stop();
        case 2:
            return advertiser.real->updateTxt(text(), text());
        case 3:
            return advertiser.real->rmTxt(text());
        default:
            return advertiser.real->forceInstanceName(text());
        }
    }

    void destroy(Lister& lister)
    {
        forget(lister.real.get());
        lister.real.reset();
        lister.model = {};
    }

    void destroy(Advertiser& advertiser)
    {
        forget(advertiser.real.get());
        advertiser.real.reset();
        advertiser.self.reset();
        advertiser.toldHost.clear();
    }

    void forget(const void* owner)
    {
        for (Delivery* delivery : deliveries)
            if (delivery->owner == owner)
                delivery->owner = nullptr;
    }

    void failNextStart()
    {
        daemon.failNext(Op::Kind(input.ConsumeIntegralInRange(0, 4)), kDNSServiceErr_Unknown,
                        DnsSdDouble::Handle(input.ConsumeIntegralInRange(0, 2)));
    }

    void breakConnection()
    {
        if (Op* const operation = anyOperation())
            daemon.breakConnection(operation);
    }

    void timeOut()
    {
        Op* const operation = anyOperation();
        if (!operation || (operation->kind != Op::Resolve && operation->kind != Op::GetAddrInfo))
            return;
        auto* const owner = operation->kind == Op::Resolve
                                ? static_cast<QObject*>(static_cast<BonjourResolver*>(operation->context))
                                : static_cast<BonjourGetAddrInfo*>(operation->context);
        auto* const timer = owner->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
        if (!timer->isActive())
            return;
        resolveFailed(operation);
        QTimerEvent expired(timer->timerId());
        QCoreApplication::sendEvent(timer, &expired);
    }

    void runLoop()
    {
        if (depth >= deepestLoop)
            return;
        ++depth;
        for (int round = 0; round < 4 && daemon.replyWaits(); ++round)
            QCoreApplication::processEvents();
        --depth;
    }

    // --- Arguments ---------------------------------------------------------------------------------------

    std::optional<QByteArray> bytes()
    {
        static const char* const usual[] = {"Kitchen",
                                            "Cellar",
                                            "kitchen",
                                            "",
                                            "K\xFF",
                                            "Dr\\. Who\\\\._demo._tcp.local.",
                                            "Kitchen._demo._tcp.local.",
                                            "\xF0\x9F\x8D\xB3._demo._tcp.local.",
                                            "Living\\032Room\\092\\0651._x._tcp.",
                                            "kitchen.local."};
        const int choice = input.ConsumeIntegralInRange(0, 12);
        if (choice < 10)
            return QByteArray(usual[choice]);
        if (choice == 10)
            return std::nullopt;
        const std::string any = input.ConsumeRandomLengthString(80);
        return QByteArray(any.c_str()); // up to its first zero, as a C string is
    }

    QString text() { return QString::fromUtf8(bytes().value_or(QByteArray())); }

    std::uint32_t interface()
    {
        static const std::uint32_t usual[] = {0, 2, 3, 0xFFFFFFFF};
        return usual[input.ConsumeIntegralInRange(0, 3)];
    }

    DNSServiceFlags flags()
    {
        const DNSServiceFlags further = input.ConsumeBool() ? input.ConsumeIntegral<std::uint32_t>() : 0;
        return input.ConsumeIntegralInRange(0, 3) == 0 ? further : further | kDNSServiceFlagsAdd;
    }

    DNSServiceErrorType error()
    {
        return input.ConsumeIntegralInRange(0, 7) == 0 ? kDNSServiceErr_Unknown : kDNSServiceErr_NoError;
    }

    Op* anyOperation()
    {
        std::vector<Op*> live;
        for (const auto kind : {Op::Register, Op::Browse, Op::Resolve, Op::GetAddrInfo, Op::QueryRecord})
            daemon.newest(kind, [&](const Op& operation) {
                live.push_back(const_cast<Op*>(&operation));
                return false;
            });
        return live.empty() ? nullptr : live[input.ConsumeIntegralInRange<std::size_t>(0, live.size() - 1)];
    }

    // --- Replies -----------------------------------------------------------------------------------------

    void queueReply()
    {
        Op* const operation = anyOperation();
        // A crowd is another test's.
        if (!operation || operation->replies.size() > 8 ||
            (operation->kind == Op::Browse && daemon.live() > mostOperations))
            return;
        switch (operation->kind) {
        case Op::Register:
            return queueRegisterReply(operation);
        case Op::Browse:
            return queueBrowseReply(operation);
        case Op::Resolve:
            return queueResolveReply(operation);
        case Op::GetAddrInfo:
            return queueAddressReply(operation);
        case Op::QueryRecord:
            return queueTextReply(operation);
        }
    }

    void queueRegisterReply(Op* operation)
    {
        daemon.queue(operation, [=, given = flags(), problem = error(), name = bytes(), type = bytes()] {
            Delivery delivery{operation, operation->context, {}, std::nullopt};
            const Passage passage(this, &delivery);
            callbackOf<DNSServiceRegisterReply>(operation)(operation, given, problem, c(name), c(type),
                                                           "local.", operation->context);
        });
    }

    void queueBrowseReply(Op* operation)
    {
        daemon.queue(operation, [=, given = flags(), index = interface(), problem = error(), name = bytes(),
                                 type = bytes()] {
            Delivery delivery{operation, operation->context, Key(QString::fromUtf8(c(name)), index), {}};
            ModelLister& model = listerOf(operation->context)->model;
            if (!problem && (given & kDNSServiceFlagsAdd))
                model.found(delivery.key);
            else if (!problem)
                delivery.toBeTold = model.removed(delivery.key);
            const Passage passage(this, &delivery);
            callbackOf<DNSServiceBrowseReply>(operation)(operation, given, index, problem, c(name), c(type),
                                                         "local.", operation->context);
        });
    }

    void queueResolveReply(Op* operation)
    {
        daemon.queue(operation, [=, index = interface(), given = flags(), problem = error(), full = bytes(),
                                 host = bytes(), port = input.ConsumeIntegral<std::uint16_t>()] {
            Delivery delivery{operation, owners.at(operation).first, owners.at(operation).second, {}};
            if (problem)
                resolveFailed(operation);
            else if (ModelResolver* const resolver = resolverOf(operation)) {
                resolver->client.serviceName = plainLabel(QString::fromUtf8(c(full)));
                resolver->client.hostName = QString::fromUtf8(c(host));
                resolver->client.port = port;
            }
            const Passage passage(this, &delivery);
            callbackOf<DNSServiceResolveReply>(operation)(operation, given, index, problem, c(full), c(host),
                                                          qToBigEndian(port), 0, nullptr, operation->context);
        });
    }

    void queueAddressReply(Op* operation)
    {
        sockaddr_in6 v6 = {};
        sockaddr_in v4 = {};
        const int kind = input.ConsumeIntegralInRange(0, 3);
        v6.sin6_family = AF_INET6;
        v6.sin6_scope_id = input.ConsumeIntegral<std::uint8_t>();
        v6.sin6_addr.s6_addr[15] = input.ConsumeIntegral<std::uint8_t>();
        v4.sin_family = kind == 3 ? sa_family_t(AF_UNIX) : sa_family_t(AF_INET);
        v4.sin_addr.s_addr = htonl(input.ConsumeIntegralInRange<std::uint32_t>(0, 3));
        daemon.queue(operation, [=, given = flags(), index = interface(), problem = error()] {
            const auto* address = kind == 0   ? nullptr
                                  : kind == 1 ? reinterpret_cast<const sockaddr*>(&v6)
                                              : reinterpret_cast<const sockaddr*>(&v4);
            QHostAddress expected;
            if (kind == 1) {
                expected.setAddress(v6.sin6_addr.s6_addr);
                expected.setScopeId(QString::number(index));
            } else if (kind == 2)
                expected.setAddress(ntohl(v4.sin_addr.s_addr));
            Delivery delivery{operation, owners.at(operation).first, owners.at(operation).second, {}};
            Advertiser* const advertiser = advertiserOf(delivery.owner);
            if (problem)
                resolveFailed(operation);
            else if (Lister* const lister = listerOf(delivery.owner))
                lister->model.addressFound(delivery.key, expected);
            else if (advertiser->toldHost != advertiser->self->client.hostName)
                delivery.toBeTold = advertiser->toldHost = advertiser->self->client.hostName;
            const Passage passage(this, &delivery);
            callbackOf<DNSServiceGetAddrInfoReply>(operation)(
                operation, given, index, problem, "KITCHEN.local.", address, 120, operation->context);
            if (!problem && advertiser && delivery.owner)
                advertiser->self.reset();
        });
    }

    void queueTextReply(Op* operation)
    {
        const std::string any = input.ConsumeRandomLengthString(60);
        const bool ofAnotherKind = input.ConsumeIntegralInRange(0, 9) == 0;
        daemon.queue(operation, [=, given = flags(), index = interface(), problem = error(), full = bytes(),
                                 rdata = QByteArray::fromStdString(any)] {
            Delivery delivery{operation, owners.at(operation).first, owners.at(operation).second, {}};
            if ((given & kDNSServiceFlagsAdd) && !problem && !ofAnotherKind)
                delivery.toBeTold = listerOf(delivery.owner)->model.textFound(delivery.key, entriesOf(rdata));
            const Passage passage(this, &delivery);
            const std::unique_ptr<char[]> exact(new char[std::size_t(rdata.size())]);
            std::copy(rdata.begin(), rdata.end(), exact.get());
            callbackOf<DNSServiceQueryRecordReply>(operation)(
                operation, given, index, problem, c(full),
                ofAnotherKind ? kDNSServiceType_A : kDNSServiceType_TXT, kDNSServiceClass_IN,
                std::uint16_t(rdata.size()), exact.get(), 4500, operation->context);
        });
    }

    static const char* c(const std::optional<QByteArray>& bytes)
    {
        return bytes ? bytes->constData() : nullptr;
    }

    /// A delivery counts from here on; when it ends, what was to be told has been.
    class Passage
    {
    public:
        Passage(Session* of, Delivery* delivered)
            : session(of)
            , delivery(delivered)
        {
            session->deliveries.push_back(delivery);
        }
        ~Passage()
        {
            require(!delivery->owner || !delivery->toBeTold);
            session->deliveries.pop_back();
        }
        Passage(const Passage&) = delete;
        Passage& operator=(const Passage&) = delete;

    private:
        Session* session;
        Delivery* delivery;
    };

    // --- What the library does in turn -------------------------------------------------------------------

    /// An operation that was started inside a delivery belongs to its instance.
    void operationStarted(const Op* operation)
    {
        if (operation->kind == Op::Register || operation->kind == Op::Browse)
            return;
        require(!deliveries.empty());
        const Delivery& cause = *deliveries.back();
        owners[operation] = {cause.owner, cause.key};
        const bool isLive = !operation->released;
        Lister* const lister = listerOf(cause.owner);
        Advertiser* const advertiser = advertiserOf(cause.owner);
        switch (operation->kind) {
        case Op::Resolve:
            require(cause.operation->kind == (lister ? Op::Browse : Op::Register));
            if (lister)
                lister->model.resolvers.at(cause.key).isLive = isLive;
            else
                advertiser->self = ModelResolver{{}, isLive, false, false};
            break;
        case Op::GetAddrInfo: {
            require(cause.operation->kind == Op::Resolve);
            ModelResolver& resolver = *resolverOf(cause.operation);
            resolver.hasLookup = true;
            resolver.isLookupLive = isLive;
            break;
        }
        case Op::QueryRecord:
            require(lister && cause.operation->kind == Op::GetAddrInfo);
            lister->model.monitors.at(cause.key).isLive = isLive;
            break;
        default:
            break;
        }
    }

    void resolveFailed(const Op* operation)
    {
        const auto& [owner, key] = owners.at(operation);
        if (Lister* const lister = listerOf(owner))
            lister->model.resolveFailed(key);
    }

    ModelResolver* resolverOf(const Op* operation)
    {
        const auto& [owner, key] = owners.at(operation);
        if (Lister* const lister = listerOf(owner))
            return &lister->model.resolvers.at(key);
        return &*advertiserOf(owner)->self;
    }

    Lister* listerOf(const void* owner)
    {
        for (Lister& lister : listers)
            if (owner && lister.real.get() == owner)
                return &lister;
        return nullptr;
    }

    Advertiser* advertiserOf(const void* owner)
    {
        for (Advertiser& advertiser : advertisers)
            if (owner && advertiser.real.get() == owner)
                return &advertiser;
        return nullptr;
    }

    /// A slot of one of the three public signals.
    void told(const void* owner, const QString& name)
    {
        require(!deliveries.empty());
        Delivery& delivery = *deliveries.back();
        require(delivery.owner == owner && delivery.toBeTold && *delivery.toBeTold == name);
        delivery.toBeTold.reset();
        checkTables();
        switch (std::exchange(inSlot, 0)) {
        case 1:
            if (Lister* const lister = listerOf(owner))
                destroy(*lister);
            if (Advertiser* const advertiser = advertiserOf(owner))
                destroy(*advertiser);
            break;
        case 2:
            inSlot = input.ConsumeIntegralInRange(0, 6);
            queueReply();
            runLoop();
            break;
        case 3:
            edit(pick(advertisers));
            break;
        case 4:
            makeLister(pick(listers));
            break;
        case 5:
            makeAdvertiser(pick(advertisers));
            break;
        case 6:
            timeOut();
            break;
        default:
            break;
        }
    }

    // --- What has to hold --------------------------------------------------------------------------------

    void check()
    {
        require(deliveries.empty());
        checkTables();
        checkOperations();
    }

    void checkTables()
    {
        for (Lister& lister : listers) {
            if (!lister.real)
                continue;
            QStringList expected;
            for (const auto& [key, client] : lister.model.clients)
                expected.append(client.serviceName);
            QStringList names = lister.real->getClients();
            std::sort(expected.begin(), expected.end());
            std::sort(names.begin(), names.end());
            require(names == expected);
            for (const QString& name : qAsConst(names))
                require(holds(lister.model, lister.real->getClient(name)));
            require(isEmpty(lister.real->getClient(QStringLiteral("no such client"))));
        }
    }

    static bool isEmpty(const MDnsVeskClient& client) { return equal(client, {}); }

    static bool equal(const MDnsVeskClient& left, const MDnsVeskClient& right)
    {
        // Equality of addresses leaves their scopes out.
        const auto scopes = [](const MDnsVeskClient& client) {
            std::multiset<QString> texts;
            for (const QHostAddress& address : client.addresses)
                texts.insert(address.toString());
            return texts;
        };
        return left.hostName == right.hostName && left.serviceName == right.serviceName &&
               left.port == right.port && left.addresses == right.addresses && left.txt == right.txt &&
               scopes(left) == scopes(right);
    }

    static bool holds(const ModelLister& model, const MDnsVeskClient& client)
    {
        return std::any_of(model.clients.begin(), model.clients.end(),
                           [&](const auto& entry) { return equal(entry.second, client); });
    }

    /// As many operations are open as the tables say.
    void checkOperations()
    {
        int resolves = 0;
        int lookups = 0;
        int queries = 0;
        const auto count = [&](const ModelResolver& resolver) {
            resolves += resolver.isLive ? 1 : 0;
            lookups += resolver.isLookupLive ? 1 : 0;
        };
        for (const Lister& lister : listers) {
            for (const auto& [key, resolver] : lister.model.resolvers)
                count(resolver);
            for (const auto& [key, monitor] : lister.model.monitors)
                queries += monitor.isLive ? 1 : 0;
        }
        for (const Advertiser& advertiser : advertisers)
            if (advertiser.self)
                count(*advertiser.self);
        require(daemon.live(Op::Resolve) == resolves);
        require(daemon.live(Op::GetAddrInfo) == lookups);
        require(daemon.live(Op::QueryRecord) == queries);
    }

    FuzzedDataProvider& input;
    DnsSdDouble& daemon = DnsSdDouble::instance();
    std::array<Lister, 2> listers;
    std::array<Advertiser, 2> advertisers;
    std::map<const Op*, std::pair<const void*, Key>> owners;
    std::vector<Delivery*> deliveries;
    int depth = 0;
    int inSlot = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_NO_GLIB", "1"); // the plain event loop is the faster one
    static const log4cplus::Initializer initializer;
    static const QCoreApplication application(*argc, *argv);
    log4cplus::Logger::getRoot().removeAllAppenders();
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    std::atexit([] { std::fprintf(stderr, "stat::steps: %llu\n", steps); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    Session(input).run();
    return 0;
}
