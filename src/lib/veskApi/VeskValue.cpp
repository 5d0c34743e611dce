// SPDX-License-Identifier: MIT
#include "VeskValue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

VeskValue::VeskValue(const QString& text)
    : m_json(text)
{
}

VeskValue::VeskValue(const QJsonValue& json)
    : m_json(json)
{
}

QString VeskValue::string_() const
{
    switch (m_json.type()) {
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(m_json.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(m_json.toObject()).toJson(QJsonDocument::Compact));
    default:
        return m_json.toVariant().toString();
    }
}
