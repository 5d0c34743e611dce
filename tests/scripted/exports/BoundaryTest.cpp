// SPDX-License-Identifier: MIT
// A program outside the library uses its classes as Qt and C++ promise: type information, meta-objects and
// connections are one and the same on both sides.
#include <CMValueItem.h>
#include <MDnsAdvertiser.h>
#include <MDnsLister.h>
#include <QHash>
#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <sstream>
#include <typeinfo>
#include <veskConnect.h>

namespace {

class OwnAdvertiser : public MDnsAdvertiser
{
    Q_OBJECT

public:
    QString forced;

    void start() override { Q_EMIT nameRegistered(QStringLiteral("kitchen.local.")); }
    void updateTxt(const QString& /*key*/, const QString& /*value*/) override {}
    void rmTxt(const QString& /*key*/) override {}
    void forceInstanceName(const QString& name) override { forced = name; }
};

class OwnLister : public MDnsLister
{
    Q_OBJECT

public:
    QStringList getClients() override { return {}; }
    MDnsVeskClient getClient(const QString& /*serviceName*/) override { return {}; }
};

std::unique_ptr<MDnsAdvertiser> idleAdvertiser()
{
    return std::unique_ptr<MDnsAdvertiser>(MDnsAdvertiserFactory::createInternal(
        nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
}

} // namespace

class Boundary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anObjectOfTheLibraryIsKnownByItsType()
    {
        const std::unique_ptr<MDnsAdvertiser> advertiser = idleAdvertiser();
        QObject* object = advertiser.get();
        QCOMPARE(dynamic_cast<MDnsAdvertiser*>(object), advertiser.get());
        QCOMPARE(qobject_cast<MDnsAdvertiser*>(object), advertiser.get());
        QVERIFY(!dynamic_cast<MDnsLister*>(object));
        QVERIFY(!qobject_cast<MDnsLister*>(object));
        QVERIFY(typeid(*object) != typeid(MDnsAdvertiser));
    }

    void anObjectOfOursIsKnownToTheLibrary()
    {
        OwnAdvertiser advertiser;
        OwnLister lister;
        QVERIFY(advertiser.inherits("MDnsAdvertiser"));
        QVERIFY(lister.inherits("MDnsLister"));
        QCOMPARE(dynamic_cast<MDnsLister*>(static_cast<QObject*>(&lister)), &lister);
    }

    void aSignalOfTheLibraryReachesUs()
    {
        OwnAdvertiser advertiser;
        QString heard;
        veskConnect(&advertiser, &MDnsAdvertiser::nameRegistered, &advertiser,
                    [&heard](const QString& name) { heard = name; });
        QSignalSpy spy(&advertiser, SIGNAL(nameRegistered(QString)));
        advertiser.start();
        QCOMPARE(heard, QStringLiteral("kitchen.local."));
        QCOMPARE(spy.size(), 1);

        OwnLister lister;
        QSignalSpy changed(&lister, &MDnsLister::clientChanged);
        QSignalSpy removed(&lister, &MDnsLister::clientRemoved);
        QVERIFY(changed.isValid() && removed.isValid());
        Q_EMIT lister.clientChanged(QStringLiteral("Kitchen"));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(removed.size(), 0);
    }

    void aChangedSettingReachesAnAdvertiserOfOurs()
    {
        OwnAdvertiser advertiser;
        QVERIFY(QMetaObject::invokeMethod(&advertiser, "on_forceServiceName_changed", Qt::DirectConnection,
                                          Q_ARG(VeskValue, VeskValue(QStringLiteral("Cellar"))),
                                          Q_ARG(VeskValue, VeskValue())));
        QCOMPARE(advertiser.forced, QStringLiteral("Cellar"));
    }

    void theItemOfAnAdvertiserIsKnownByItsType()
    {
        const std::unique_ptr<MDnsAdvertiser> advertiser = idleAdvertiser();
        auto* item = advertiser->findChild<CMValueItem*>();
        QVERIFY(item);
        QCOMPARE(dynamic_cast<CMValueItem*>(static_cast<QObject*>(item)), item);
        QVERIFY(QSignalSpy(item, &CMValueItem::changed).isValid());
    }

    void theRecordsFunctionsCanBeLinked()
    {
        ResolveData kitchen;
        kitchen.serviceName = QStringLiteral("Kitchen");
        const QHash<ResolveData, int> table{{kitchen, 1}};
        QCOMPARE(table.value(kitchen), 1);
        std::ostringstream text;
        text << kitchen;
        QCOMPARE(text.str(), std::string("Kitchen on ,0"));
    }
};

QTEST_GUILESS_MAIN(Boundary)
#include "BoundaryTest.moc"
