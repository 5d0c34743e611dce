// SPDX-License-Identifier: MIT
#include "ListingWatch.h"

#include <dns_sd.h>

#if __has_include(<vesk_dnssd.h>)
#include <vesk_dnssd.h>
#endif

namespace {

constexpr int intervalMs = 2000;

std::optional<Listing> currentListing()
{
#ifdef kVeskDnssdProperty_Listing
    VeskDnssdListing listing = {};
    std::uint32_t size = sizeof listing;
    if (DNSServiceGetProperty(kVeskDnssdProperty_Listing, &listing, &size) == kDNSServiceErr_NoError)
        return Listing{listing.listed, listing.known, listing.silent, listing.descriptorLimit};
#endif
    return std::nullopt;
}

} // namespace

QString listingShortfall(const Listing& listing)
{
    if (listing.listed >= listing.known)
        return QString();
    const QString what = QString("listing %1 of %2: ").arg(listing.listed).arg(listing.known);
    return listing.silent > 0 ? what + QString("%1 do not answer").arg(listing.silent)
                              : what + QString("descriptor limit %1").arg(listing.descriptorLimit);
}

ListingWatch::ListingWatch()
{
    connect(&m_timer, &QTimer::timeout, this, &ListingWatch::look);
    m_timer.start(intervalMs);
}

void ListingWatch::look()
{
    const std::optional<Listing> listing = currentListing();
    const bool isSettled = listing && m_before == listing;
    m_before = listing;
    const QString text = isSettled ? listingShortfall(*listing) : QString();
    if (text.isEmpty())
        return;
    m_timer.stop();
    Q_EMIT fellShort(text);
}
