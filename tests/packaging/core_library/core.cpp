// SPDX-License-Identifier: MIT
#include "CMValueItem.h"
#include "dbglog.h"
#include "textStreams.h"
#include "veskConnect.h"

#include <QTimer>
#include <ostream>

CMPath CMPath::fromEncoded(const QByteArray&)
{
    return {};
}

QString VeskValue::string_() const
{
    return text;
}

CMValueItem::CMValueItem(const CMPath&, QObject* parent)
    : QObject(parent)
{
    QTimer::singleShot(0, this, [this] { Q_EMIT changed(VeskValue(QStringLiteral("Device")), VeskValue()); });
}

std::string dbglog_scopedFunction(const char* signature, const char*)
{
    return signature;
}

std::ostream& operator<<(std::ostream& out, const QString& text)
{
    return out << text.toUtf8();
}

std::ostream& operator<<(std::ostream& out, const QByteArray& bytes)
{
    return out.write(bytes.constData(), bytes.size());
}

QByteArray QByteArray_leftUtf8(const QByteArray& bytes, int n)
{
    return bytes.left(n);
}

QMetaObject::Connection veskConnect(const QObject* sender, const char* signal, const QObject* receiver,
                                    const char* slot, Qt::ConnectionType type)
{
    return QObject::connect(sender, signal, receiver, slot, type);
}
