// SPDX-License-Identifier: MIT
#ifndef VESK_VALUE_H
#define VESK_VALUE_H

#include "VeskApiExport.h"

#include <QJsonValue>
#include <QMetaType>
#include <QString>

/**
 * The value of a configuration item: nothing, a text, a number, a truth value, or a list or object of these.
 *
 * Values compare equal when they hold the same kind and content. They are registered with Qt's meta-type
 * system under the name "VeskValue".
 */
class VESK_API_EXPORT VeskValue
{
public:
    /** An unset value; its text is empty. */
    VeskValue() = default;
    /** A text; it may be empty, which is not the same as unset. */
    explicit VeskValue(const QString& text);
    /** Any value that a settings file can hold; undefined gives an unset value. */
    explicit VeskValue(const QJsonValue& json);

    /**
     * The value as text, never failing: a text as it stands, a number in its shortest decimal form, "true" or
     * "false", a list or object as compact JSON, an unset value as the empty text.
     */
    QString string_() const;

    /** The value as it is stored; undefined when unset. */
    const QJsonValue& json() const { return m_json; }

    /** Whether both are of the same kind and content. */
    bool operator==(const VeskValue& other) const { return m_json == other.m_json; }
    /** Whether they differ in kind or content. */
    bool operator!=(const VeskValue& other) const { return !(*this == other); }

private:
    QJsonValue m_json = QJsonValue::Undefined;
};

Q_DECLARE_METATYPE(VeskValue)

#endif
