// SPDX-License-Identifier: MIT
#include "CoreDouble.h"

#include "DnsSdDouble.h"
#include "Record.h"

#include <CMPath.h>
#include <QSocketNotifier>
#include <dbglog.h>
#include <dlfcn.h>
#include <textStreams.h>
#include <veskConnect.h>

namespace {

int streamed = 0;

/** The function that ours hides. */
template <typename Function>
Function* genuine(Function*, const char* symbol)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

/** A notifier goes by the handle it watches. */
QString nameOf(const QObject* object)
{
    const QString name = QLatin1String(object->metaObject()->className());
    const auto* notifier = qobject_cast<const QSocketNotifier*>(object);
    if (!notifier)
        return name;
    return QStringLiteral("notifier of %1")
        .arg(text(DnsSdDouble::instance().byDescriptor(int(notifier->socket()))));
}

void watchNotifier(const QObject* sender)
{
    if (!qobject_cast<const QSocketNotifier*>(sender))
        return;
    QObject::connect(sender, &QObject::destroyed, [name = nameOf(sender)] {
        Record::instance().add(Record::Destroyed, QLatin1Char('~') + name);
    });
}

} // namespace

int CoreDouble::streamedTexts()
{
    return streamed;
}

QMetaObject::Connection veskConnect(const QObject* sender, const char* signal, const QObject* receiver,
                                    const char* slot, Qt::ConnectionType type)
{
    Record::instance().add(Record::Connection,
                           QStringLiteral("connect %1 %2 to %3 %4 type=%5 by text")
                               .arg(nameOf(sender), QLatin1String(signal),
                                    QLatin1String(receiver->metaObject()->className()), QLatin1String(slot))
                               .arg(type));
    watchNotifier(sender);
    return QObject::connect(sender, signal, receiver, slot, type);
}

bool verifyConnectionSignalParameters(const QObject* sender, const QMetaMethod& signal,
                                      const QObject* receiver, Qt::ConnectionType type)
{
    Record::instance().add(Record::Connection,
                           QStringLiteral("connect %1 %2 to %3 type=%4")
                               .arg(nameOf(sender), QString::fromLatin1(signal.methodSignature()),
                                    QLatin1String(receiver->metaObject()->className()))
                               .arg(type));
    watchNotifier(sender);
    static const auto next = genuine(&verifyConnectionSignalParameters,
                                     "_Z32verifyConnectionSignalParametersPK7QObjectRK11QMetaMethodS1_"
                                     "N2Qt14ConnectionTypeE");
    return next(sender, signal, receiver, type);
}

CMPath CMPath::fromEncoded(const QByteArray& encoded)
{
    Record::instance().add(Record::Core, QStringLiteral("CMPath::fromEncoded(%1 bytes '%2')")
                                             .arg(encoded.size())
                                             .arg(QString::fromLatin1(encoded.toPercentEncoding(":/"))));
    static const auto next = genuine(&CMPath::fromEncoded, "_ZN6CMPath11fromEncodedERK10QByteArray");
    return next(encoded);
}

std::string dbglog_scopedFunction(const char* signature, const char* loggerName)
{
    Record::instance().add(
        Record::Core, QStringLiteral("dbglog_scopedFunction('%1', '%2')").arg(signature).arg(loggerName));
    return CoreDouble::scopeOpen + std::string(signature) + CoreDouble::scopeClose;
}

std::ostream& operator<<(std::ostream& out, const QString& text)
{
    ++streamed;
    static const auto next = genuine(
        static_cast<std::ostream& (*)(std::ostream&, const QString&)>(&operator<<), "_ZlsRSoRK7QString");
    return next(out, text);
}

std::ostream& operator<<(std::ostream& out, const QByteArray& bytes)
{
    ++streamed;
    static const auto next =
        genuine(static_cast<std::ostream& (*)(std::ostream&, const QByteArray&)>(&operator<<),
                "_ZlsRSoRK10QByteArray");
    return next(out, bytes);
}
