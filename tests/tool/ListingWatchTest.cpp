// SPDX-License-Identifier: MIT
#include "ListingWatch.h"

#include <QtTest>

class ListingWatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shortfallTellsWhyNotAllServicesAreListed_data();
    void shortfallTellsWhyNotAllServicesAreListed();
};

void ListingWatchTest::shortfallTellsWhyNotAllServicesAreListed_data()
{
    QTest::addColumn<unsigned>("listed");
    QTest::addColumn<unsigned>("known");
    QTest::addColumn<unsigned>("silent");
    QTest::addColumn<QString>("text");
    QTest::newRow("none known") << 0U << 0U << 0U << QString();
    QTest::newRow("all listed") << 7U << 7U << 0U << QString();
    QTest::newRow("no descriptors") << 950U << 1100U << 0U << "listing 950 of 1100: descriptor limit 1024";
    QTest::newRow("silent") << 3U << 9U << 5U << "listing 3 of 9: 5 do not answer";
}

void ListingWatchTest::shortfallTellsWhyNotAllServicesAreListed()
{
    QFETCH(unsigned, listed);
    QFETCH(unsigned, known);
    QFETCH(unsigned, silent);
    QTEST(listingShortfall({listed, known, silent, 1024}), "text");
}

QTEST_APPLESS_MAIN(ListingWatchTest)
#include "ListingWatchTest.moc"
