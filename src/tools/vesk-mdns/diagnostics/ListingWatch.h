// SPDX-License-Identifier: MIT
#ifndef LISTING_WATCH_H
#define LISTING_WATCH_H

#include <QObject>
#include <QString>
#include <QTimer>
#include <optional>

/** How much of what the DNS-SD library knows it has handed on. */
struct Listing
{
    unsigned listed;
    unsigned known;
    unsigned silent; ///< of those that were not handed on: nothing answers for them
    unsigned descriptorLimit;

    bool operator==(const Listing& other) const { return listed == other.listed && known == other.known; }
};

/** Why not all services are listed, in words; empty when they are. */
QString listingShortfall(const Listing& listing);

/** Tells once when the DNS-SD library keeps services back, and not just while it is busy. Libraries that do
 * not tell are taken to list all. */
class ListingWatch : public QObject
{
    Q_OBJECT

public:
    ListingWatch();

Q_SIGNALS:
    void fellShort(const QString& text);

private:
    void look();

    QTimer m_timer;
    std::optional<Listing> m_before;
};

#endif
