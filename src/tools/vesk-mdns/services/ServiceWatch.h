// SPDX-License-Identifier: MIT
#ifndef SERVICE_WATCH_H
#define SERVICE_WATCH_H

#include "Change.h"

#include <MDnsLister.h>
#include <QHash>
#include <QObject>

/** One service instance as a lister knows it. */
struct SeenService
{
    MDnsVeskClient client; ///< the record of one of its interfaces
    int interfaces = 0;    ///< on how many interfaces it is listed
};

/** Tells apart what a lister's signals mean for the user: a service came, is another now, or went. */
class ServiceWatch : public QObject
{
    Q_OBJECT

public:
    /** @p lister must outlive this object. */
    explicit ServiceWatch(MDnsLister* lister);

    const QHash<QString, SeenService>& services() const { return m_services; }

Q_SIGNALS:
    /**
     * @p service came, differs from what was reported last, or is no longer listed on any interface; it is
     * then as it was known last.
     */
    void happened(Change change, const SeenService& service);

private:
    void refresh(const QString& name);

    MDnsLister* m_lister;
    QHash<QString, SeenService> m_services;
};

#endif
