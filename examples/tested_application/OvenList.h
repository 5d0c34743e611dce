// SPDX-License-Identifier: MIT
// A part of an application: the ovens of the house, and which of them are hot.
#ifndef OVEN_LIST_H
#define OVEN_LIST_H

#include <MDnsLister.h>
#include <QObject>
#include <memory>

class OvenList : public QObject
{
    Q_OBJECT

public:
    OvenList();
    QStringList hotOvens() const;

Q_SIGNALS:
    void changed();

private:
    std::unique_ptr<MDnsLister> m_lister;
};

#endif
