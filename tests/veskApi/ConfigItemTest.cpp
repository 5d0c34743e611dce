// SPDX-License-Identifier: MIT
#include "ApiTest.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSemaphore>
#include <QThread>
#include <QTimer>
#include <sys/stat.h>
#include <unistd.h>
#include <veskConnect.h>

namespace {

QString shown(const VeskValue& value)
{
    return value == VeskValue() ? QStringLiteral("unset") : value.string_();
}

/** A live item and what it told: "NEW after OLD", and what value() showed meanwhile where that differs. */
struct Listener
{
    CMValueItem item;
    QStringList heard;

    explicit Listener(const CMPath& path)
        : item(path)
    {
        QObject::connect(&item, &CMValueItem::changed,
                         [this](const VeskValue& newValue, const VeskValue& oldValue) {
                             QString line = shown(newValue) + QStringLiteral(" after ") + shown(oldValue);
                             if (item.value() != newValue)
                                 line += QStringLiteral(" but value() shows ") + shown(item.value());
                             heard.append(line);
                         });
    }
};

QByteArray settings(const QString& name, const QString& other = QStringLiteral("o"))
{
    return QJsonDocument(QJsonObject{{QStringLiteral("name"), name}, {QStringLiteral("other"), other}})
        .toJson();
}

const QByteArray broken = "{\"name\": \"new\", ";
const QByteArray oldSettings = settings(QStringLiteral("old"));
const QByteArray newSettings = settings(QStringLiteral("new"));
constexpr int deadlineMs = 60000;
const QString newAfterOld = QStringLiteral("new after old");

} // namespace

class ConfigItem : public ApiTest
{
    Q_OBJECT

private:
    QString forbidden;

    static QString setByChild(const QString& path, const QString& value)
    {
        return child({QStringLiteral("set"), path, value}).output.trimmed();
    }

    static QString set(const CMPath& path, const QString& value)
    {
        return CMValueItem(path).setValue(VeskValue(value));
    }

    /**
     * With "old" stored, changes the settings: every live item of the path tells it once, and no other does.
     */
    void everyItemOfThePathTells(const std::function<void()>& change, const QString& expected)
    {
        writeInPlace(fileName(), oldSettings);
        Listener first(namePath());
        Listener second(namePath());
        Listener other(otherPath());
        Listener elsewhere(CMPath::fromEncoded("elsewhere:/name"));
        change();
        QTRY_COMPARE_WITH_TIMEOUT(first.heard, QStringList{expected}, deadlineMs);
        QCOMPARE(second.heard, QStringList{expected});
        QCOMPARE(other.heard, QStringList());

        // What was wrongly said would have been said before this.
        QCOMPARE(set(CMPath::fromEncoded("elsewhere:/name"), QStringLiteral("last")), QString());
        QCOMPARE(elsewhere.heard, QStringList{QStringLiteral("last after unset")});
        QCOMPARE(first.heard, QStringList{expected});
        QCOMPARE(other.heard, QStringList());
    }

    /** Leaves these permissions to all users but root; the directory is still removed after the test. */
    void forbid(const QString& path, mode_t mode)
    {
        QVERIFY(::chmod(qPrintable(path), geteuid() == 0 ? 0700 | mode : mode) == 0);
        forbidden = path;
    }

    /** A child process without privileges applies the verb to the item of namePath(). */
    static ChildResult unprivileged(const QString& verb, const QStringList& arguments = {})
    {
        return child(
            QStringList{QStringLiteral("unprivileged"), verb, QStringLiteral("systemmanager:/name")} +
            arguments);
    }

    /** The watch still works after whatever was done before. */
    void laterChangesAreHeard(Listener& listener)
    {
        for (const QString& name : {QStringLiteral("in place"), QStringLiteral("in place again")}) {
            listener.heard.clear();
            writeInPlace(fileName(), settings(name));
            QTRY_COMPARE_WITH_TIMEOUT(listener.item.value().string_(), name, deadlineMs);
        }
        listener.heard.clear();
        replace(fileName(), settings(QStringLiteral("replaced")));
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard,
                                  QStringList{QStringLiteral("replaced after in place again")}, deadlineMs);
        listener.heard.clear();
        QCOMPARE(setByChild(QStringLiteral("systemmanager:/name"), QStringLiteral("set")), QString());
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("set after replaced")},
                                  deadlineMs);
    }

private Q_SLOTS:
    void cleanup()
    {
        if (!forbidden.isEmpty())
            ::chmod(qPrintable(forbidden), 0700);
        forbidden.clear();
        ApiTest::cleanup();
    }

    // --- Changes from elsewhere --------------------------------------------------------------------------

    void anotherProcessChangesIt()
    {
        everyItemOfThePathTells(
            [] {
                QCOMPARE(setByChild(QStringLiteral("systemmanager:/name"), QStringLiteral("new")), QString());
            },
            newAfterOld);
    }

    void anEditorReplacesTheFile()
    {
        everyItemOfThePathTells([this] { replace(fileName(), newSettings); }, newAfterOld);
    }

    void theFileIsWrittenInPlace()
    {
        everyItemOfThePathTells([this] { writeInPlace(fileName(), newSettings); }, newAfterOld);
    }

    void aChangeInThisProcess()
    {
        everyItemOfThePathTells([] { QCOMPARE(set(namePath(), QStringLiteral("new")), QString()); },
                                newAfterOld);
    }

    void anEditorKeepsTheOldFileAsABackup()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        // The old file lives on under another name, so the watch on it sees no end.
        QVERIFY(::link(qPrintable(fileName()), qPrintable(fileName() + QLatin1Char('~'))) == 0);
        replace(fileName(), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
        laterChangesAreHeard(listener);
    }

    void theFileIsRemoved()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QVERIFY(QFile::remove(fileName()));
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("unset after old")}, deadlineMs);
        QCOMPARE(warnings(), QStringList());
        laterChangesAreHeard(listener);
    }

    void theFileAppears()
    {
        Listener listener(namePath());
        QCOMPARE(listener.item.value(), VeskValue());
        writeInPlace(fileName(), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.item.value().string_(), QStringLiteral("new"), deadlineMs);
        QCOMPARE(listener.heard, QStringList{QStringLiteral("new after unset")});
        laterChangesAreHeard(listener);
    }

    void theDirectoryAppears()
    {
        const QString later = directory() + QStringLiteral("/a/b");
        useDirectory(later);
        Listener listener(namePath());
        QVERIFY2(!QFileInfo::exists(directory() + QStringLiteral("/a")), "reading makes no directory");
        QCOMPARE(setByChild(QStringLiteral("systemmanager:/name"), QStringLiteral("new")), QString());
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("new after unset")}, deadlineMs);
        writeInPlace(later + QStringLiteral("/systemmanager.json"), oldSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.item.value().string_(), QStringLiteral("old"), deadlineMs);
    }

    void theDirectoryIsRemovedAndMadeAgain()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QVERIFY(QDir(directory()).removeRecursively());
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("unset after old")}, deadlineMs);
        QVERIFY2(!QFileInfo::exists(directory()), "reading makes no directory");
        QVERIFY(QDir().mkpath(directory()));
        laterChangesAreHeard(listener);
        QCOMPARE(warnings(), QStringList());
    }

    void anotherDirectoryTakesItsPlace()
    {
        const QString current = directory() + QStringLiteral("/current");
        const QString prepared = directory() + QStringLiteral("/prepared");
        const QString file = QStringLiteral("/systemmanager.json");
        QVERIFY(QDir().mkpath(current) && QDir().mkpath(prepared));
        writeInPlace(current + file, oldSettings);
        writeInPlace(prepared + file, newSettings);
        useDirectory(current);
        Listener listener(namePath());
        QVERIFY(QDir().rename(current, current + QLatin1Char('~')));
        QVERIFY(QDir().rename(prepared, current));
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
        writeInPlace(current + file, oldSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.item.value().string_(), QStringLiteral("old"), deadlineMs);
    }

    void theFileIsALink()
    {
        const QString target = directory() + QStringLiteral("/target");
        QVERIFY(QDir().mkpath(target));
        writeInPlace(target + QStringLiteral("/real"), oldSettings);
        QVERIFY(QFile::link(target + QStringLiteral("/real"), fileName()));
        Listener listener(namePath());
        QCOMPARE(listener.item.value().string_(), QStringLiteral("old"));
        replace(target + QStringLiteral("/real"), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
        laterChangesAreHeard(listener);
        QVERIFY(QFileInfo(fileName()).isSymLink());
    }

    void aDirectoryThatNeverRestsHidesNothing()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QTimer unrest;
        connect(&unrest, &QTimer::timeout, [this] {
            const QString another = directory() + QStringLiteral("/another");
            writeInPlace(another, "");
            QVERIFY(QFile::remove(another));
        });
        unrest.start(0);
        replace(fileName(), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
    }

    void twoProcessesWriteDifferentKeysAndLoseNothing()
    {
        constexpr int count = 50;
        Listener listener(CMPath::fromEncoded("systemmanager:/b49"));
        QProcess a;
        QProcess b;
        a.start(childProgram(QStringLiteral("core-library-child")),
                {QStringLiteral("set-many"), QStringLiteral("systemmanager:/a"), QString::number(count)});
        b.start(childProgram(QStringLiteral("core-library-child")),
                {QStringLiteral("set-many"), QStringLiteral("systemmanager:/b"), QString::number(count)});
        QVERIFY(a.waitForFinished() && b.waitForFinished());
        QCOMPARE(QString::fromUtf8(a.readAll() + b.readAll()).trimmed(), QString());
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("49 after unset")}, deadlineMs);
        const QJsonObject stored = QJsonDocument::fromJson(contentOf(fileName())).object();
        QCOMPARE(stored.size(), 2 * count);
        for (int i = 0; i < count; ++i) {
            QCOMPARE(stored.value(QLatin1Char('a') + QString::number(i)).toString(), QString::number(i));
            QCOMPARE(stored.value(QLatin1Char('b') + QString::number(i)).toString(), QString::number(i));
        }
    }

    // --- What is no change -------------------------------------------------------------------------------

    void theSameValueTellsNothing()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        Listener other(otherPath());
        QCOMPARE(set(namePath(), QStringLiteral("old")), QString());
        replace(fileName(), "{\"other\":\"o2\",\n\n\"name\":\"old\"}");
        QTRY_COMPARE_WITH_TIMEOUT(other.heard, QStringList{QStringLiteral("o2 after o")}, deadlineMs);
        QCOMPARE(listener.heard, QStringList());
    }

    void theFirstReadingTellsNothing()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QCOMPARE(listener.item.value().string_(), QStringLiteral("old"));
        QCOMPARE(set(otherPath(), QStringLiteral("o2")), QString());
        QCOMPARE(listener.heard, QStringList());
    }

    void unsetTakesTheItemOut()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QCOMPARE(listener.item.setValue(VeskValue()), QString());
        QCOMPARE(listener.heard, QStringList{QStringLiteral("unset after old")});
        QCOMPARE(QJsonDocument::fromJson(contentOf(fileName())).object().keys(),
                 QStringList{QStringLiteral("other")});
        QCOMPARE(listener.item.setValue(VeskValue(QString())), QString());
        QCOMPARE(listener.heard.last(), QStringLiteral(" after unset"));
    }

    void anotherKindOfTheSameTextIsAChange()
    {
        writeInPlace(fileName(), R"({"name": "1"})");
        Listener listener(namePath());
        replace(fileName(), R"({"name": 1})");
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{QStringLiteral("1 after 1")}, deadlineMs);
        replace(fileName(), R"({"name": null})");
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard.last(), QStringLiteral("unset after 1"), deadlineMs);
    }

    // --- Files that cannot be read -----------------------------------------------------------------------

    void aBrokenFileKeepsTheLastGoodValuesAndWarnsOnceUntilMended()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        Listener elsewhere(CMPath::fromEncoded("elsewhere:/name"));
        const QList<QByteArray> breakages = {broken, "", "[]", "\xff\xfe", "{\"name\": nul}"};
        for (const QByteArray& content : breakages) {
            replace(fileName(), content);
            replace(directory() + QStringLiteral("/elsewhere.json"),
                    settings(QString::fromLatin1(content.toHex())));
            QTRY_COMPARE_WITH_TIMEOUT(elsewhere.item.value().string_(), QString::fromLatin1(content.toHex()),
                                      deadlineMs);
            QTRY_COMPARE_WITH_TIMEOUT(warnings().size(), 1, deadlineMs);
            QCOMPARE(listener.item.value().string_(), QStringLiteral("old"));
        }
        QCOMPARE(listener.heard, QStringList());
        replace(fileName(), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
        QCOMPARE(warnings().size(), 1);
        replace(fileName(), broken);
        QTRY_COMPARE_WITH_TIMEOUT(warnings().size(), 2, deadlineMs);
        QCOMPARE(listener.heard, QStringList{newAfterOld});
    }

    void theWarningSaysWhatIsWrong_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("why");
        QTest::newRow("cut off") << QByteArray("{\"a\": 1 ")
                                 << QStringLiteral("unterminated object at byte 8");
        QTest::newRow("a list") << QByteArray("[1]") << QStringLiteral("it holds no JSON object");
    }

    void theWarningSaysWhatIsWrong()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, why);
        writeInPlace(fileName(), content);
        const CMValueItem item(namePath());
        QCOMPARE(item.value(), VeskValue());
        QCOMPARE(
            warnings(),
            QStringList{QStringLiteral("WARN ConfigStore: Cannot parse %1 (%2); the last good values stay "
                                       "in force until it is mended")
                            .arg(fileName(), why)});
    }

    void aHalfWrittenFileWaitsForItsEnd()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        QFile file(fileName());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
        file.write(newSettings.left(10));
        QTRY_COMPARE_WITH_TIMEOUT(warnings().size(), 1, deadlineMs);
        QCOMPARE(listener.item.value().string_(), QStringLiteral("old"));
        file.write(newSettings.mid(10));
        QTRY_COMPARE_WITH_TIMEOUT(listener.heard, QStringList{newAfterOld}, deadlineMs);
        QCOMPARE(warnings().size(), 1);
    }

    void nothingIsStoredOverABrokenFile()
    {
        writeInPlace(fileName(), broken);
        Listener listener(namePath());
        const QString error = listener.item.setValue(VeskValue(QStringLiteral("new")));
        QVERIFY2(error.startsWith(QStringLiteral("Not stored, so that nothing is lost: Cannot parse ") +
                                  fileName()),
                 qPrintable(error));
        QCOMPARE(contentOf(fileName()), broken);
        QCOMPARE(listener.heard, QStringList());
        QCOMPARE(warnings().size(), 1);
    }

    void aDirectoryInTheFilesPlaceIsUnreadable()
    {
        QVERIFY(QDir().mkpath(fileName()));
        Listener listener(namePath());
        QCOMPARE(warnings().size(), 1);
        QVERIFY(warnings().first().contains(QStringLiteral("Cannot read ") + fileName()));
        QVERIFY(!listener.item.setValue(VeskValue(QStringLiteral("new"))).isEmpty());
        QVERIFY(QDir().rmdir(fileName()));
        laterChangesAreHeard(listener);
    }

    // --- Where the settings are --------------------------------------------------------------------------

    void aStoredValueSurvivesARestart()
    {
        QCOMPARE(set(namePath(), QStringLiteral("K\u00fcche")), QString());
        QCOMPARE(CMValueItem(namePath()).value().string_(), QStringLiteral("K\u00fcche"));
        QCOMPARE(child({QStringLiteral("get"), QStringLiteral("systemmanager:/name")}).output.trimmed(),
                 QStringLiteral("K\u00fcche"));
    }

    void everyKindOfValueSurvives()
    {
        const QList<QJsonValue> values = {QStringLiteral("\u53a8\u623f \\ \" \n"),
                                          true,
                                          0.1,
                                          42,
                                          QJsonArray{1, QStringLiteral("a")},
                                          QJsonObject{{QStringLiteral("k"), QJsonValue::Null}},
                                          QString()};
        for (const QJsonValue& value : values) {
            QCOMPARE(CMValueItem(namePath()).setValue(VeskValue(value)), QString());
            QCOMPARE(CMValueItem(namePath()).value().json(), value);
        }
    }

    void everySchemeHasItsFileInTheChosenDirectory()
    {
        QCOMPARE(set(CMPath::fromEncoded("Other.Scheme:/a/b"), QStringLiteral("x")), QString());
        const QJsonObject stored =
            QJsonDocument::fromJson(contentOf(directory() + QStringLiteral("/other.scheme.json"))).object();
        QCOMPARE(stored, (QJsonObject{{QStringLiteral("a/b"), QStringLiteral("x")}}));
    }

    void aRelativeDirectoryCountsFromTheWorkingDirectory()
    {
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(directory()));
        useDirectory(QStringLiteral("below/./it"));
        const QString error = set(namePath(), QStringLiteral("new"));
        QDir::setCurrent(before);
        QCOMPARE(error, QString());
        QVERIFY(QFileInfo::exists(directory() + QStringLiteral("/below/it/systemmanager.json")));
    }

    void withoutAChosenDirectoryItIsThatOfTheDesktop()
    {
        for (const char* chosen : {static_cast<const char*>(nullptr), ""}) {
            if (chosen)
                qputenv("VESK_CONFIG_DIR", chosen);
            else
                qunsetenv("VESK_CONFIG_DIR");
            qputenv("XDG_CONFIG_HOME", QFile::encodeName(directory()));
            const QString error = set(namePath(), QStringLiteral("new"));
            qunsetenv("XDG_CONFIG_HOME");
            QCOMPARE(error, QString());
            const QString file = directory() + QStringLiteral("/vesk/systemmanager.json");
            QVERIFY(QFileInfo::exists(file));
            QVERIFY(QFile::remove(file));
        }
    }

    void aDirectoryChosenLaterIsAnotherStore()
    {
        writeInPlace(fileName(), oldSettings);
        Listener listener(namePath());
        useDirectory(directory() + QStringLiteral("/b"));
        QCOMPARE(CMValueItem(namePath()).value(), VeskValue());
        QCOMPARE(set(namePath(), QStringLiteral("b")), QString());
        QCOMPARE(listener.item.value().string_(), QStringLiteral("old"));
    }

    void aPathWithItsTerminatingZeroNamesTheSameItem()
    {
        Listener withZero(CMPath::fromEncoded(QByteArray("systemmanager:/name", 20)));
        QCOMPARE(set(namePath(), QStringLiteral("new")), QString());
        QCOMPARE(withZero.heard, QStringList{QStringLiteral("new after unset")});
        QCOMPARE(QJsonDocument::fromJson(contentOf(fileName())).object().keys(),
                 QStringList{QStringLiteral("name")});
    }

    void aPathThatNamesNothingStaysUnset()
    {
        Listener listener(CMPath::fromEncoded("systemmanager"));
        QCOMPARE(warnings(),
                 QStringList{QStringLiteral("WARN ConfigStore: Not a configuration path, write it as "
                                            "\"scheme:/key\"; the item stays unset")});
        QCOMPARE(listener.item.setValue(VeskValue(QStringLiteral("new"))),
                 QStringLiteral("Not a configuration path, write it as \"scheme:/key\"."));
        QCOMPARE(listener.item.value(), VeskValue());
        QCOMPARE(listener.heard, QStringList());
    }

    // --- Settings that cannot be written -----------------------------------------------------------------

    void aFileInTheDirectorysPlaceRefusesToStore()
    {
        writeInPlace(directory() + QStringLiteral("/file"), "");
        const QString below = directory() + QStringLiteral("/file/below");
        useDirectory(below);
        Listener listener(namePath());
        QCOMPARE(
            listener.item.setValue(VeskValue(QStringLiteral("new"))),
            QStringLiteral("Cannot make the directory %1; make it, or name another one in VESK_CONFIG_DIR.")
                .arg(below));
        QCOMPARE(listener.heard, QStringList());
        QVERIFY(QFile::remove(directory() + QStringLiteral("/file")));
        QCOMPARE(listener.item.setValue(VeskValue(QStringLiteral("new"))), QString());
        QCOMPARE(listener.heard, QStringList{QStringLiteral("new after unset")});
    }

    void aDirectoryOfSomebodyElseRefusesToStore()
    {
        writeInPlace(fileName(), oldSettings);
        forbid(directory(), 0444 | 0111);
        QCOMPARE(unprivileged(QStringLiteral("set"), {QStringLiteral("new")}).output.trimmed(),
                 QStringLiteral("Cannot lock %1; check that its directory exists and is writable.")
                     .arg(fileName()));
        QCOMPARE(contentOf(fileName()), oldSettings);
        QCOMPARE(unprivileged(QStringLiteral("get")).output.trimmed(), QStringLiteral("old"));
    }

    void aDirectoryThatMayOnlyBePassedIsPassedInSilence()
    {
        const QString below = directory() + QStringLiteral("/below");
        QVERIFY(QDir().mkpath(below));
        writeInPlace(below + QStringLiteral("/systemmanager.json"), oldSettings);
        forbid(directory(), 0111);
        useDirectory(below);
        const ChildResult result = unprivileged(QStringLiteral("get"));
        QCOMPARE(result.output.trimmed(), QStringLiteral("old"));
        QCOMPARE(result.errors, QString());
    }

    void aFullDiskLeavesTheSettingsAsTheyWere()
    {
        const QByteArray before = settings(QStringLiteral("old"), QString(200, QLatin1Char('x')));
        writeInPlace(fileName(), before);
        const ChildResult result = child({QStringLiteral("set-with-full-disk"),
                                          QStringLiteral("systemmanager:/name"), QStringLiteral("new")});
        QVERIFY2(result.output.startsWith(QStringLiteral("Cannot write ") + fileName()),
                 qPrintable(result.output));
        QCOMPARE(result.output.section(QLatin1Char('\n'), 1, 1), QStringLiteral("old"));
        QCOMPARE(contentOf(fileName()), before);
        QCOMPARE(QDir(directory()).entryList(QDir::Files), QStringList{QStringLiteral("systemmanager.json")});
    }

    // --- Life of the items -------------------------------------------------------------------------------

    void anItemMayBeDeletedInsideItsOwnSignal_data()
    {
        QTest::addColumn<bool>("fromElsewhere");
        QTest::newRow("set here") << false;
        QTest::newRow("set by another process") << true;
    }

    void anItemMayBeDeletedInsideItsOwnSignal()
    {
        QFETCH(bool, fromElsewhere);
        auto* item = new CMValueItem(namePath());
        bool heard = false;
        connect(item, &CMValueItem::changed, [&heard, item] {
            heard = true;
            delete item; // the last item, and so the store
        });
        if (fromElsewhere)
            QCOMPARE(setByChild(QStringLiteral("systemmanager:/name"), QStringLiteral("new")), QString());
        else
            QCOMPARE(item->setValue(VeskValue(QStringLiteral("new"))), QString());
        QTRY_VERIFY_WITH_TIMEOUT(heard, deadlineMs);
    }

    void oneSignalMayDeleteAllOtherItems()
    {
        std::vector<std::unique_ptr<CMValueItem>> items;
        int heard = 0;
        for (int i = 0; i < 10; ++i) {
            items.push_back(std::make_unique<CMValueItem>(namePath()));
            connect(items.back().get(), &CMValueItem::changed, [&items, &heard] {
                ++heard;
                items.clear();
            });
        }
        replace(fileName(), newSettings);
        QTRY_COMPARE_WITH_TIMEOUT(heard, 1, deadlineMs);
    }

    void aSlotMaySetTheItemAgain()
    {
        Listener listener(namePath());
        Listener second(namePath());
        connect(&listener.item, &CMValueItem::changed, [&listener](const VeskValue& value) {
            if (value.string_() == QLatin1String("wrong"))
                QCOMPARE(listener.item.setValue(VeskValue(QStringLiteral("right"))), QString());
        });
        QCOMPARE(set(namePath(), QStringLiteral("wrong")), QString());
        QCOMPARE(listener.heard,
                 (QStringList{QStringLiteral("wrong after unset"), QStringLiteral("right after wrong")}));
        QCOMPARE(second.item.value().string_(), QStringLiteral("right"));
        QCOMPARE(second.heard.size(), 1);
    }

    void anItemOfAnotherThreadHearsThereWhatIsSetHere()
    {
        QSemaphore listening;
        QThread* heardIn = nullptr;
        QString heard;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            const CMValueItem item(namePath());
            QEventLoop loop;
            connect(&item, &CMValueItem::changed, &loop, [&](const VeskValue& value) {
                heardIn = QThread::currentThread();
                heard = value.string_();
                loop.quit();
            });
            listening.release();
            loop.exec();
        }));
        thread->start();
        listening.acquire();
        QCOMPARE(set(namePath(), QStringLiteral("new")), QString());
        QVERIFY(thread->wait(deadlineMs));
        QCOMPARE(heard, QStringLiteral("new"));
        QCOMPARE(heardIn, thread.get());
    }

    void anItemOutlivesThoseOfOtherThreads()
    {
        auto listener = std::make_unique<Listener>(namePath());
        QSemaphore made;
        QSemaphore alone;
        QString error;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            CMValueItem item(namePath());
            made.release();
            alone.acquire();
            error = item.setValue(VeskValue(QStringLiteral("new")));
        }));
        thread->start();
        made.acquire();
        listener.reset();
        alone.release();
        QVERIFY(thread->wait(deadlineMs));
        QCOMPARE(error, QString());
    }

    void aChangeInAnotherThreadReachesAReceiverHere()
    {
        QObject receiver;
        QString heard;
        QSemaphore listening;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            const CMValueItem item(namePath());
            QEventLoop loop;
            veskConnect(
                &item, &CMValueItem::changed, &receiver,
                [&heard](const VeskValue& newValue, const VeskValue&) { heard = newValue.string_(); });
            connect(&item, &CMValueItem::changed, &loop, &QEventLoop::quit);
            listening.release();
            loop.exec();
        }));
        thread->start();
        listening.acquire();
        QCOMPARE(set(namePath(), QStringLiteral("new")), QString());
        QVERIFY(thread->wait(deadlineMs));
        QCOMPARE(heard, QString()); // it waits for our event loop
        QCoreApplication::sendPostedEvents();
        QCOMPARE(heard, QStringLiteral("new"));
    }

    void aThousandItemsShareTheirDescriptors()
    {
        const CMValueItem first(namePath());
        const int descriptors = openDescriptors();
        std::vector<std::unique_ptr<CMValueItem>> items;
        for (int i = 0; i < 1000; ++i)
            items.push_back(std::make_unique<CMValueItem>(
                CMPath::fromEncoded("systemmanager:/" + QByteArray::number(i))));
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(set(CMPath::fromEncoded("systemmanager:/999"), QStringLiteral("x")), QString());
        QCOMPARE(items.back()->value().string_(), QStringLiteral("x"));
        items.clear();
        QCOMPARE(openDescriptors(), descriptors);
    }

    void roundsOfTheOnlyItemLeaveNothingBehind()
    {
        const int descriptors = openDescriptors();
        for (int i = 0; i < 50; ++i) // each makes and releases a watch, which the kernel is slow at
            const CMValueItem item(namePath());
        QCOMPARE(openDescriptors(), descriptors);
    }
};

static const TestClass<ConfigItem> registeredClass("ConfigItem");

#include "ConfigItemTest.moc"
