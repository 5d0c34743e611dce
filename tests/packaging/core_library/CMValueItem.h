// SPDX-License-Identifier: MIT
#pragma once
#include "CMPath.h"
#include "VeskValue.h"

#include <QObject>

/** Whatever its path: it changes once, to "Device", as soon as the event loop runs. */
class CMValueItem : public QObject
{
    Q_OBJECT

public:
    explicit CMValueItem(const CMPath& path, QObject* parent = nullptr);

Q_SIGNALS:
    void changed(const VeskValue& newValue, const VeskValue& oldValue);
};
