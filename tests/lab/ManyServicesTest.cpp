// SPDX-License-Identifier: MIT
// More services than a lister has descriptors for, or more names than there are services.
#include "LabFixture.h"

#include <MDnsAdvertiser.h>
#include <QDir>
#include <QFile>
#include <QtTest>
#include <dns_sd.h>
#include <optional>
#include <sys/resource.h>
#include <vesk_dnssd.h>

namespace {

const QString serviceType = QStringLiteral("_demo._tcp");

void limitDescriptors(rlim_t limit)
{
    const rlimit limits{limit, limit};
    QVERIFY(setrlimit(RLIMIT_NOFILE, &limits) == 0);
}

int openDescriptors()
{
    return QDir("/proc/self/fd").entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

/** The process's memory that is not shared, in megabytes. */
double ownMemory()
{
    QFile file("/proc/self/statm");
    if (!file.open(QFile::ReadOnly))
        return 0;
    const QList<QByteArray> pages = file.readAll().split(' ');
    return (pages[1].toDouble() - pages[2].toDouble()) * 4096 / 1e6;
}

/** How many instances the client library knows, be they listed or not. */
unsigned knownInstances()
{
    VeskDnssdListing listing{};
    uint32_t size = sizeof listing;
    DNSServiceGetProperty(kVeskDnssdProperty_Listing, &listing, &size);
    return listing.known;
}

/** A peer on the other host that announces what it is told to; see dnssd_crafted_peer. */
class CraftedPeer
{
public:
    explicit CraftedPeer(const QStringList& orders)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start("lab-on", QStringList{"hostb", CRAFTED_PEER, "10.99.1.2"} + orders);
        m_process.waitForStarted();
    }
    ~CraftedPeer()
    {
        m_process.terminate();
        m_process.waitForFinished(deadlineMs);
    }

private:
    QProcess m_process;
};

/** A lister, and whether it lost any. */
class Lister
{
public:
    Lister()
        : m_lister(MDnsListerFactory::create(nullptr, serviceType, MDnsProtocolType::IPv4))
        , m_removed(m_lister.get(), &MDnsLister::clientRemoved)
    {
    }
    int count() const { return m_lister->getClients().size(); }
    QStringList names() const
    {
        QStringList names = m_lister->getClients();
        names.sort();
        return names;
    }
    bool lists(const QString& name) const { return m_lister->getClients().contains(name); }
    int removals() const { return m_removed.count(); }

    /** Whether what is listed does not change for so long. */
    bool isSteady(int milliseconds) const
    {
        const QStringList before = names();
        return !QTest::qWaitFor([&] { return names() != before; }, milliseconds);
    }

private:
    std::unique_ptr<MDnsLister> m_lister;
    QSignalSpy m_removed;
};

} // namespace

class ManyServicesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void nineHundredAndFiftyOfElevenHundredAreListedUnderALimitOf1024();
    void thirtyFiveOfSixtyAreListedUnderALimitOf64AndTheRestWhenSomeGo();
    void tenThousandNamesWithoutAServiceTakeFewDescriptorsAndHideNoService();
};

void ManyServicesTest::init()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta", "run this test in a lab of two hosts");
    QVERIFY(runLab("lab-daemon", {"hostb", "kill"}));
}

void ManyServicesTest::nineHundredAndFiftyOfElevenHundredAreListedUnderALimitOf1024()
{
    limitDescriptors(1024);
    const CraftedPeer peer({"many=1100"});
    const Lister lister;
    EVENTUALLY(lister.count() >= 950);
    EVENTUALLY(lister.isSteady(3000));
    QVERIFY(lister.count() < 1100);
    QVERIFY(lister.isSteady(10000));
    QCOMPARE(lister.removals(), 0);
}

void ManyServicesTest::thirtyFiveOfSixtyAreListedUnderALimitOf64AndTheRestWhenSomeGo()
{
    limitDescriptors(64);
    std::optional<CraftedPeer> peer(QStringList{"many=60"});
    const Lister lister;
    EVENTUALLY(lister.count() >= 35);
    EVENTUALLY(lister.isSteady(3000));
    const QStringList first = lister.names();
    QVERIFY(first.size() < 60);
    QCOMPARE(lister.removals(), 0);

    const QStringList going = first.mid(0, 30);
    peer.reset(); // it would announce them again
    peer.emplace(QStringList{"gone=" + going.join(',')});
    EVENTUALLY(lister.removals() == 30);
    EVENTUALLY(lister.count() == 30);
    for (int i = 0; i < 60; ++i) {
        const QString name = QString("m%1").arg(i);
        QVERIFY2(lister.lists(name) != going.contains(name), qPrintable(name));
    }
}

void ManyServicesTest::tenThousandNamesWithoutAServiceTakeFewDescriptorsAndHideNoService()
{
    limitDescriptors(1024);
    const std::unique_ptr<MDnsAdvertiser> own(
        MDnsAdvertiserFactory::create(nullptr, "Own", "_other._tcp", 2000));
    const Lister lister;
    [[maybe_unused]] const double memoryBefore = ownMemory();
    // Once, and no faster: the daemon compares each with all that it has. What it cannot read in time is
    // lost.
    const CraftedPeer storm({"pace=40", "forged=10000", "announce=Last"});
    QTRY_VERIFY_WITH_TIMEOUT(lister.lists("Last"), 5 * deadlineMs);
    QVERIFY2(knownInstances() > 5000, qPrintable(QString::number(knownInstances())));
    QVERIFY(openDescriptors() < 100);

    const CraftedPeer honest({"many=1"});
    QTRY_VERIFY_WITH_TIMEOUT(lister.lists("m0"), 5000);
    QVERIFY(openDescriptors() < 100);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep what has been freed
    QVERIFY(ownMemory() - memoryBefore < 64);
#endif
}

QTEST_GUILESS_MAIN(ManyServicesTest)
#include "ManyServicesTest.moc"
