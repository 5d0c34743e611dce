// SPDX-License-Identifier: MIT
#pragma once
#include <QMetaType>
#include <QString>

class VeskValue
{
public:
    VeskValue() = default;
    explicit VeskValue(const QString& given)
        : text(given)
    {
    }
    QString string_() const;

private:
    QString text;
};
Q_DECLARE_METATYPE(VeskValue)
