// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <CMValueItem.h>
#include <cstring>

namespace {

/** An advertiser that only notes what it is asked for. */
class NotingAdvertiser : public MDnsAdvertiser
{
public:
    void start() override { calls.append(QStringLiteral("start()")); }
    void updateTxt(const QString& key, const QString& value) override
    {
        calls.append(QStringLiteral("updateTxt(%1, %2)").arg(key, value));
    }
    void rmTxt(const QString& key) override { calls.append(QStringLiteral("rmTxt(%1)").arg(key)); }
    void forceInstanceName(const QString& name) override
    {
        calls.append(QStringLiteral("forceInstanceName(%1)").arg(name));
    }

    void configured(const VeskValue& newValue, const VeskValue& oldValue)
    {
        QVERIFY(QMetaObject::invokeMethod(this, "on_forceServiceName_changed", Q_ARG(VeskValue, newValue),
                                          Q_ARG(VeskValue, oldValue)));
    }

    QStringList calls;
};

/** "signal public name(QString a, int b)" for each of the class's own methods. */
QStringList methodsOf(const QMetaObject& type)
{
    static const char* const kinds[] = {"method", "signal", "slot", "constructor"};
    static const char* const accesses[] = {"private", "protected", "public"};
    QStringList methods;
    for (int index = type.methodOffset(); index < type.methodCount(); ++index) {
        const QMetaMethod method = type.method(index);
        QStringList parameters;
        for (int at = 0; at < method.parameterCount(); ++at)
            parameters.append(
                QString::fromLatin1(method.parameterTypes().at(at) + ' ' + method.parameterNames().at(at))
                    .trimmed());
        methods.append(QStringLiteral("%1 %2 %3(%4)")
                           .arg(QLatin1String(kinds[method.methodType()]),
                                QLatin1String(accesses[method.access()]), QString::fromLatin1(method.name()),
                                parameters.join(QStringLiteral(", "))));
    }
    return methods;
}

/** Where a virtual operation stands in the table of its class: the common C++ ABI keeps the offset, plus 1,
 * in the first word of a pointer to it. */
template <typename Member>
int slotOf(Member member)
{
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word & 1) ? int((word - 1) / std::ptrdiff_t(sizeof(void*))) : -1;
}

/** The last virtual operation of QObject, made reachable. */
struct OpenObject : QObject
{
    static int lastSlot() { return slotOf(&OpenObject::disconnectNotify); }
};

} // namespace

using MetaObject = const QMetaObject*;
Q_DECLARE_METATYPE(MetaObject)

class Interfaces : public ScriptedTest
{
    Q_OBJECT

private Q_SLOTS:
    void aChangedNameIsForced()
    {
        NotingAdvertiser advertiser;
        advertiser.configured(VeskValue(QStringLiteral("Cellar")), VeskValue(QStringLiteral("Kitchen")));
        QCOMPARE(advertiser.calls, QStringList{QStringLiteral("forceInstanceName(Cellar)")});
        QCOMPARE(logs(), QStringList());
    }

    void aChangeToTheSameTextStillForcesTheName()
    {
        NotingAdvertiser advertiser;
        const VeskValue same(QStringLiteral("Kitchen"));
        advertiser.configured(same, same);
        QCOMPARE(advertiser.calls, QStringList{QStringLiteral("forceInstanceName(Kitchen)")});
    }

    void anEmptyValueForcesTheEmptyName()
    {
        NotingAdvertiser advertiser;
        advertiser.configured(VeskValue(QString()), VeskValue(QStringLiteral("Kitchen")));
        advertiser.configured(VeskValue(), VeskValue(QStringLiteral("Kitchen")));
        QCOMPARE(advertiser.calls,
                 (QStringList{QStringLiteral("forceInstanceName()"), QStringLiteral("forceInstanceName()")}));
    }

    void aValueIsForcedAsItIs()
    {
        NotingAdvertiser advertiser;
        advertiser.configured(VeskValue(QStringLiteral(" Cellar.local. \n")), VeskValue());
        QCOMPARE(advertiser.calls, QStringList{QStringLiteral("forceInstanceName( Cellar.local. \n)")});
    }

    void otherKindsOfValueAreTakenAsText()
    {
        NotingAdvertiser advertiser;
        advertiser.configured(VeskValue(QJsonValue(7)), VeskValue());
        QCOMPARE(advertiser.calls, QStringList{QStringLiteral("forceInstanceName(7)")});
    }

    void theValueTypeIsRegisteredByItsName()
    {
        const QMetaMethod slot = MDnsAdvertiser::staticMetaObject.method(
            MDnsAdvertiser::staticMetaObject.indexOfSlot("on_forceServiceName_changed(VeskValue,VeskValue)"));
        QVERIFY(slot.isValid());
        QVERIFY(slot.parameterType(0) != QMetaType::UnknownType);
        QCOMPARE(QMetaType::typeName(slot.parameterType(0)), "VeskValue");
    }

    void metaObjects_data()
    {
        QTest::addColumn<MetaObject>("type");
        QTest::addColumn<MetaObject>("base");
        QTest::addColumn<QStringList>("methods");

        QTest::newRow("MDnsAdvertiser")
            << MetaObject(&MDnsAdvertiser::staticMetaObject) << MetaObject(&QObject::staticMetaObject)
            << QStringList{QStringLiteral("signal public nameRegistered(QString name)"),
                           QStringLiteral("slot private on_forceServiceName_changed(VeskValue newValue, "
                                          "VeskValue oldValue)"),
                           QStringLiteral("slot public updateTxt(QString key, QString value)"),
                           QStringLiteral("slot public rmTxt(QString key)"),
                           QStringLiteral("slot public forceInstanceName(QString instanceName)")};
        QTest::newRow("MDnsLister")
            << MetaObject(&MDnsLister::staticMetaObject) << MetaObject(&QObject::staticMetaObject)
            << QStringList{QStringLiteral("signal public clientChanged(QString serviceName)"),
                           QStringLiteral("signal public clientRemoved(QString serviceName)")};
        QTest::newRow("BonjourAdvertiser")
            << MetaObject(&BonjourAdvertiser::staticMetaObject)
            << MetaObject(&MDnsAdvertiser::staticMetaObject)
            << QStringList{QStringLiteral("slot public updateTxt(QString key, QString value)"),
                           QStringLiteral("slot public rmTxt(QString key)"),
                           QStringLiteral("slot public forceInstanceName(QString instanceName)"),
                           QStringLiteral("slot public on_socketNotifier_activated(int socket)"),
                           QStringLiteral("slot public on_resolved(ResolveData data, MDnsVeskClient client)"),
                           QStringLiteral("slot public updateTxt()")};
        QTest::newRow("BonjourServiceRef") << MetaObject(&BonjourServiceRef::staticMetaObject)
                                           << MetaObject(&QObject::staticMetaObject) << QStringList();
        QTest::newRow("BonjourGetAddrInfo")
            << MetaObject(&BonjourGetAddrInfo::staticMetaObject) << MetaObject(&QObject::staticMetaObject)
            << QStringList{QStringLiteral("signal public resolved(QHostAddress address)"),
                           QStringLiteral("signal public resolveFailed()"),
                           QStringLiteral("slot private on_socketNotifier_activated(int socket)"),
                           QStringLiteral("slot private on_timeout()")};
        QTest::newRow("BonjourResolver")
            << MetaObject(&BonjourResolver::staticMetaObject) << MetaObject(&QObject::staticMetaObject)
            << QStringList{
                   QStringLiteral("signal public resolveSucceeded(ResolveData data, MDnsVeskClient client)"),
                   QStringLiteral("signal public resolveFailed(ResolveData data)"),
                   QStringLiteral("slot public on_socketNotifier_activated(int socket)"),
                   QStringLiteral("slot public on_addressResolved(QHostAddress address)"),
                   QStringLiteral("slot public on_timeout()")};
        QTest::newRow("BonjourTxtMonitor")
            << MetaObject(&BonjourTxtMonitor::staticMetaObject) << MetaObject(&QObject::staticMetaObject)
            << QStringList{
                   QStringLiteral("signal public clientUpdated(ResolveData data, MDnsVeskClient client)"),
                   QStringLiteral("signal public txtMonitorFailed()"),
                   QStringLiteral("slot public on_socketNotifier_activated(int socket)")};
        QTest::newRow("BonjourLister")
            << MetaObject(&BonjourLister::staticMetaObject) << MetaObject(&MDnsLister::staticMetaObject)
            << QStringList{
                   QStringLiteral("slot public on_browseSocketNotifier_activated(int socket)"),
                   QStringLiteral("slot public on_resolveSucceeded(ResolveData data, MDnsVeskClient client)"),
                   QStringLiteral("slot public on_clientUpdated(ResolveData data, MDnsVeskClient client)"),
                   QStringLiteral("slot public on_resolveFailed(ResolveData data)")};
    }

    void metaObjects()
    {
        QFETCH(MetaObject, type);
        QFETCH(MetaObject, base);
        QFETCH(QStringList, methods);
        QCOMPARE(methodsOf(*type), methods);
        QCOMPARE(type->superClass(), base);
        QCOMPARE(type->propertyCount(), type->propertyOffset());
        QCOMPARE(type->enumeratorCount(), type->enumeratorOffset());
        QCOMPARE(QByteArray(type->className()), QByteArray(QTest::currentDataTag()));
    }

    void theAdvertisersVirtualOperationsKeepTheirOrder()
    {
        using Text = const QString&;
        const int next = OpenObject::lastSlot() + 1;
        QVERIFY(next > 0);
        QCOMPARE(slotOf(&MDnsAdvertiser::start), next);
        QCOMPARE(slotOf(static_cast<void (MDnsAdvertiser::*)(Text, Text)>(&MDnsAdvertiser::updateTxt)),
                 next + 1);
        QCOMPARE(slotOf(&MDnsAdvertiser::rmTxt), next + 2);
        QCOMPARE(slotOf(&MDnsAdvertiser::forceInstanceName), next + 3);
    }

    void theListersVirtualOperationsKeepTheirOrder()
    {
        const int next = OpenObject::lastSlot() + 1;
        QCOMPARE(slotOf(&MDnsLister::getClients), next);
        QCOMPARE(slotOf(&MDnsLister::getClient), next + 1);
    }

    void whatIsNotVirtualStaysSo()
    {
        QCOMPARE(slotOf(&BonjourAdvertiser::stop), -1);
        QCOMPARE(slotOf(static_cast<void (BonjourAdvertiser::*)()>(&BonjourAdvertiser::updateTxt)), -1);
        QCOMPARE(slotOf(&BonjourResolver::unescape), -1);
        QCOMPARE(slotOf(&BonjourLister::bonjourBrowseReplyCallback), -1);
    }

    void theInterfacesHaveNoDataOfTheirOwn()
    {
        QCOMPARE(sizeof(MDnsAdvertiser), sizeof(QObject));
        QCOMPARE(sizeof(MDnsLister), sizeof(QObject));
    }
};

static const TestClass<Interfaces> registeredClass("Interfaces");

#include "InterfacesTest.moc"
