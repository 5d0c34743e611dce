// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QProcess>
#include <QRegularExpression>
#include <algorithm>
#include <cstdlib>
#include <log4cplus/appender.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>
#include <unistd.h>

namespace {

/** One kind of log line: what it begins with after level and logger, and where it is written. */
struct Kind
{
    const char* level;
    const char* logger;
    const char* begins;
    const char* function;
};

constexpr char browseReply[] =
    "void BonjourLister::bonjourBrowseReplyCallback(DNSServiceRef, DNSServiceFlags, uint32_t, "
    "DNSServiceErrorType, const char*, const char*, const char*)";
constexpr char resolveReply[] =
    "void BonjourResolver::bonjourResolveReplyCallback(DNSServiceRef, DNSServiceFlags, uint32_t, "
    "DNSServiceErrorType, const char*, const char*, uint16_t, uint16_t, const unsigned char*)";
constexpr char addressReply[] = "void BonjourGetAddrInfo::bonjourGetAddrInfoReplyCallback(uint32_t, const "
                                "sockaddr*, DNSServiceErrorType)";
constexpr char txtReply[] =
    "void BonjourTxtMonitor::bonjourTxtMonitorReplyCallback(DNSServiceRef, DNSServiceFlags, uint32_t, "
    "DNSServiceErrorType, const char*, uint16_t, uint16_t, uint16_t, const void*, uint32_t)";
constexpr char registerReply[] =
    "static void BonjourAdvertiser::registrationHandler(DNSServiceRef, DNSServiceFlags, DNSServiceErrorType, "
    "const char*, const char*, const char*, void*)";
constexpr char lookupStart[] =
    "BonjourGetAddrInfo::BonjourGetAddrInfo(uint32_t, const char*, MDnsProtocolType)";
constexpr char resolverStart[] =
    "BonjourResolver::BonjourResolver(ResolveData, const char*, const char*, MDnsProtocolType)";
constexpr char monitorStart[] =
    "BonjourTxtMonitor::BonjourTxtMonitor(const ResolveData&, const MDnsVeskClient&)";
constexpr char listerStart[] = "BonjourLister::BonjourLister(QObject*, const QString&, MDnsProtocolType)";

/** Every line that the library can write. "Enter" lines begin with their own function besides. */
const Kind kinds[] = {
    {"INFO", "BonjourAdvertiser", "Started advertising: ", "virtual void BonjourAdvertiser::start()"},
    {"INFO", "BonjourAdvertiser", "Stopping advertising: ", "void BonjourAdvertiser::stop()"},
    {"ERROR", "BonjourAdvertiser",
     "An error occured during creation of the advertiser: ", "virtual void BonjourAdvertiser::start()"},
    {"ERROR", "BonjourAdvertiser",
     "The DNSServiceErrorType was: ", "virtual void BonjourAdvertiser::start()"},
    {"DEBUG", "BonjourAdvertiser", "Failed to register service: ", registerReply},
    {"INFO", "BonjourAdvertiser",
     "Adding txt: ", "virtual void BonjourAdvertiser::updateTxt(const QString&, const QString&)"},
    {"INFO", "BonjourAdvertiser", "Removing txt: ", "virtual void BonjourAdvertiser::rmTxt(const QString&)"},
    {"ERROR", "BonjourAdvertiser",
     "Error while updating txt, error code is:", "void BonjourAdvertiser::updateTxt()"},
    {"INFO", "BonjourLister", "Creating Bonjour lister for service: ", listerStart},
    {"ERROR", "BonjourLister", "Error starting BonjourLister: ", listerStart},
    {"TRACE", "BonjourLister", "flags=", browseReply},
    {"ERROR", "BonjourLister", "Error in bonjourBrowseReplyCallback: ", browseReply},
    {"WARN", "BonjourLister", "Resetting resolver of: ", browseReply},
    {"INFO", "BonjourLister", "Browse found: ", browseReply},
    {"INFO", "BonjourLister", "Browse remove: ", browseReply},
    {"INFO", "BonjourLister", "Resolve succeeded: ",
     "void BonjourLister::on_resolveSucceeded(const ResolveData&, const MDnsVeskClient&)"},
    {"INFO", "BonjourLister",
     "Resolve failed, remove resolver: ", "void BonjourLister::on_resolveFailed(const ResolveData&)"},
    {"INFO", "BonjourLister",
     "Client updated: ", "void BonjourLister::on_clientUpdated(const ResolveData&, const MDnsVeskClient&)"},
    {"TRACE", "BonjourLister", "Creating BonjourResolver for: ", resolverStart},
    {"ERROR", "BonjourLister", "Error calling DNSServiceResolve: ", resolverStart},
    {"TRACE", "BonjourLister", "if=", resolveReply},
    {"ERROR", "BonjourLister", "Error in bonjourResolveReplyCallback: ", resolveReply},
    {"TRACE", "BonjourLister", "address: ", "void BonjourResolver::on_addressResolved(const QHostAddress&)"},
    {"INFO", "BonjourLister", "Resolving timed out", "void BonjourResolver::on_timeout()"},
    {"TRACE", "BonjourLister", "Creating BonjourGetAddrInfo for hostname: ", lookupStart},
    {"ERROR", "BonjourLister", "Error calling DNSGetAddrInfo: ", lookupStart},
    {"ERROR", "BonjourLister", "bonjourGetAddrInfoReplyCallback failed with error: ", addressReply},
    {"TRACE", "BonjourLister", "Address is: ", addressReply},
    {"INFO", "BonjourLister", "Resolving timed out", "void BonjourGetAddrInfo::on_timeout()"},
    {"TRACE", "BonjourLister", "Creating BonjourTxtMonitor for serviceName: ", monitorStart},
    {"ERROR", "BonjourLister", "Error calling DNSServiceQueryRecord: ", monitorStart},
    {"TRACE", "BonjourLister", "TXT RMV event received, ignoring.", txtReply},
    {"TRACE", "BonjourLister", "fullname: ", txtReply},
    {"ERROR", "BonjourLister", "bonjourTxtMonitorReplyCallback failed with error: ", txtReply},
    {"ERROR", "BonjourLister", "bonjourTxtMonitorReplyCallback has the wrong class and/or type: ", txtReply},
    {"TRACE", "BonjourLister", "Device: ", txtReply},
    {"ERROR", "BonjourLister", "Error creating Bonjour connection: socket is -1",
     "void BonjourServiceRef::setNotifier(QObject*, const char*)"},
};

/** The kinds that are entry lines, by the beginning of their message. */
bool isEntry(const Kind& kind)
{
    static const QStringList entries = {QStringLiteral("Creating "),
                                        QStringLiteral("flags="),
                                        QStringLiteral("Resolve succeeded: "),
                                        QStringLiteral("Resolve failed, "),
                                        QStringLiteral("if="),
                                        QStringLiteral("address: "),
                                        QStringLiteral("Resolving timed out"),
                                        QStringLiteral("fullname: ")};
    for (const QString& entry : entries)
        if (QString::fromLatin1(kind.begins).startsWith(entry))
            return true;
    return false;
}

QString headOf(const Kind& kind)
{
    QString head = QStringLiteral("%1 %2: ").arg(QLatin1String(kind.level), QLatin1String(kind.logger));
    if (isEntry(kind))
        head += QStringLiteral("Enter [") + QLatin1String(kind.function) + QStringLiteral("]: ");
    return head + QLatin1String(kind.begins);
}

// --- The loggers' life, told by a process of its own
// ---------------------------------------------------------

constexpr char lifeOfLoggers[] = "SCRIPTED_LIFE_OF_LOGGERS";

void tell(const std::string& event)
{
    ::write(STDOUT_FILENO, (event + '\n').data(), event.size() + 1);
}

/** Goes with the last owner of its logger. */
class MortalAppender : public log4cplus::Appender
{
public:
    explicit MortalAppender(const std::string& loggerName)
        : name(loggerName)
    {
    }
    ~MortalAppender() override
    {
        destructorImpl();
        tell("released " + name);
    }
    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent&) override {}

private:
    std::string name;
};

/** Once the loggers are no longer known by name, only a look-up makes them known again. */
void tellOfLoggers()
{
    if (!qEnvironmentVariableIsSet(lifeOfLoggers))
        return;
    const std::string names[] = {"BonjourAdvertiser", "BonjourLister"};
    for (const std::string& name : names)
        if (log4cplus::Logger::exists(name)) {
            tell("at load " + name);
            log4cplus::Logger::getInstance(name).addAppender(
                log4cplus::SharedAppenderPtr(new MortalAppender(name)));
        }
    log4cplus::Logger::getDefaultHierarchy().clear();
    {
        const BonjourLister lister(nullptr, QStringLiteral("_demo._tcp"), MDnsProtocolType::IPv4);
        BonjourAdvertiser advertiser(nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 80);
        advertiser.start();
        advertiser.updateTxt(QStringLiteral("k"), QStringLiteral("v"));
    }
    for (const std::string& name : names)
        if (log4cplus::Logger::exists(name))
            tell("looked up again " + name);
    std::exit(0);
}

Q_COREAPP_STARTUP_FUNCTION(tellOfLoggers)

} // namespace

class Logs : public ScriptedTest
{
    Q_OBJECT

private:
    /** Walks all roads and side roads of the library. */
    void walkEverywhere()
    {
        const auto advertising = advertiser();
        daemon.failNext(Op::Register, kDNSServiceErr_Unknown);
        advertising->start();
        advertising->start();
        registered("Kitchen", kDNSServiceErr_NameConflict);
        advertising->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
        daemon.failUpdates(kDNSServiceErr_Unknown);
        advertising->rmTxt(QStringLiteral("k"));
        advertising->stop();

        daemon.failNext(Op::Browse, kDNSServiceErr_Unknown);
        lister();
        daemon.nextDescriptor(-1);
        lister();

        const auto listing = listerWithoutClearing();
        txtArrives(txt({"a=1"}));
        TxtReply reply;
        reply.flags = 0;
        txtArrives(txt({"a=1"}), 3, reply);
        reply.flags = add;
        reply.rrtype = 1;
        txtArrives(txt({"a=1"}), 3, reply);
        reply.error = kDNSServiceErr_Unknown;
        txtArrives(txt({"a=1"}), 3, reply);

        browseAdd("Kitchen", 3); // again: reset
        runOut(static_cast<BonjourResolver*>(daemon.newest(Op::Resolve)->context));
        browseAdd("Kitchen", 3);
        ResolveReply resolved;
        resolved.error = kDNSServiceErr_Unknown;
        resolveReplies(3, resolved);
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives(nullptr, 3, kDNSServiceErr_Unknown);
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        runOut(static_cast<BonjourGetAddrInfo*>(daemon.newest(Op::GetAddrInfo)->context));
        daemon.failNext(Op::Resolve, kDNSServiceErr_Unknown);
        browseAdd("Kitchen", 3);
        browseAdd("Kitchen", 3);
        daemon.failNext(Op::GetAddrInfo, kDNSServiceErr_Unknown);
        resolveReplies(3);
        resolveReplies(3);
        daemon.failNext(Op::QueryRecord, kDNSServiceErr_Unknown);
        addressArrives("fe80::1");
        browseRemove("Kitchen", 3);
        browseReplies(add, nullptr, 3, kDNSServiceErr_Unknown, nullptr, nullptr);
    }

    std::unique_ptr<BonjourLister> listerWithoutClearing()
    {
        auto made = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("192.168.1.5");
        return made;
    }

    /** The row of the table that a line belongs to; null when it belongs to none. */
    static const Kind* kindOf(const Record::Line& line)
    {
        for (const Kind& kind : kinds)
            if (line.text.startsWith(headOf(kind)) && line.function == kind.function)
                return &kind;
        return nullptr;
    }

private Q_SLOTS:
    void everyLineIsWrittenWhereItBelongs()
    {
        walkEverywhere();
        QSet<const Kind*> seen;
        for (const Record::Line& line : record.all()) {
            if (line.kind != Record::Log)
                continue;
            const Kind* const kind = kindOf(line);
            QVERIFY2(kind, qPrintable(line.text + QStringLiteral("\nwritten in ") +
                                      QString::fromUtf8(line.function)));
            seen.insert(kind);
            QCOMPARE(line.file, QByteArray("src/lib/mdnsHelpers/") + kind->logger + ".cpp");
            QVERIFY(line.number > 0);
        }
        for (const Kind& kind : kinds)
            QVERIFY2(seen.contains(&kind), kind.begins);
    }

    void linesBelowTheLevelAreNeitherWrittenNorBuilt_data()
    {
        QTest::addColumn<int>("level");
        QTest::newRow("TRACE") << int(log4cplus::TRACE_LOG_LEVEL);
        QTest::newRow("DEBUG") << int(log4cplus::DEBUG_LOG_LEVEL);
        QTest::newRow("INFO") << int(log4cplus::INFO_LOG_LEVEL);
        QTest::newRow("WARN") << int(log4cplus::WARN_LOG_LEVEL);
        QTest::newRow("ERROR") << int(log4cplus::ERROR_LOG_LEVEL);
        QTest::newRow("OFF") << int(log4cplus::OFF_LOG_LEVEL);
    }

    void linesBelowTheLevelAreNeitherWrittenNorBuilt()
    {
        QFETCH(int, level);
        LogCapture::setLevel(level);
        const int before = CoreDouble::streamedTexts();
        walkEverywhere();

        QSet<QString> levels;
        int entries = 0;
        for (const QString& line : logs()) {
            levels.insert(line.section(QLatin1Char(' '), 0, 0));
            entries += line.contains(QLatin1String(": Enter ")) ? 1 : 0;
        }
        QSet<QString> expected;
        for (const Kind& kind : kinds)
            if (log4cplus::getLogLevelManager().fromString(kind.level) >= level)
                expected.insert(QString::fromLatin1(kind.level));
        QCOMPARE(levels, expected);
        // Each entry line that was written asked for its scope once; the others never asked.
        QCOMPARE(record.of(Record::Core).size(), entries);
        if (level == log4cplus::OFF_LOG_LEVEL)
            QCOMPARE(CoreDouble::streamedTexts(), before);
    }

    void entryLinesAskWithTheirSignatureAndLogger()
    {
        const auto started = lister();
        QCOMPARE(record.of(Record::Core),
                 QStringList{QStringLiteral("dbglog_scopedFunction('%1', 'BonjourLister')")
                                 .arg(QLatin1String(listerStart))});
    }

    void loggersAreLookedUpOnceAtLoadAndReleasedAtUnload()
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(lifeOfLoggers), QStringLiteral("1"));
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.readAllStandardError(), QByteArray());
        QList<QByteArray> lines = child.readAllStandardOutput().trimmed().split('\n');
        std::sort(lines.begin(), lines.end());
        QCOMPARE(lines, (QList<QByteArray>{"at load BonjourAdvertiser", "at load BonjourLister",
                                           "released BonjourAdvertiser", "released BonjourLister"}));
    }

    void repliesWithNullPointersAreSafeAtEveryLevel_data()
    {
        linesBelowTheLevelAreNeitherWrittenNorBuilt_data();
    }

    void repliesWithNullPointersAreSafeAtEveryLevel()
    {
        QFETCH(int, level);
        LogCapture::setLevel(level);
        const auto listing = listerWithoutClearing();
        const auto advertising = advertiser();
        advertising->start();
        for (const DNSServiceErrorType error : {kDNSServiceErr_NoError, kDNSServiceErr_Unknown}) {
            browseReplies(add, nullptr, 3, error, nullptr, nullptr);
            browseReplies(0, nullptr, 3, error, nullptr, nullptr);
            TxtReply reply;
            reply.error = error;
            reply.fullName.reset();
            txtArrives(QByteArray(), 3, reply);
            reply.flags = 0;
            txtArrives(QByteArray(), 3, reply);
            registered(nullptr, error);
        }
        browseAdd("Cellar", 4);
        ResolveReply resolved;
        resolved.fullName.reset();
        resolved.host.reset();
        resolved.txt = QByteArray();
        resolveReplies(4, resolved);
        addressArrives(nullptr, 4, kDNSServiceErr_Unknown);
        browseAdd("Cellar", 4);
        resolveReplies(4, resolved);
        daemon.failNext(Op::GetAddrInfo, kDNSServiceErr_BadParam);
        resolveReplies(4, resolved);
        resolveReplies(4, resolved);
        addressArrives(nullptr, 4);
        QCOMPARE(listing->getClients().size(), 2);
    }

    void aLineBrokenOffByANullPointerLeavesTheNextWhole()
    {
        const auto started = lister();
        browseReplies(add, nullptr, 3, kDNSServiceErr_Unknown, nullptr, nullptr);
        QCOMPARE(logs().last(),
                 QStringLiteral("ERROR BonjourLister: Error in bonjourBrowseReplyCallback: -65537"));
        QVERIFY(logs().at(1).endsWith(QLatin1String("serviceName=")));
    }
};

static const TestClass<Logs> registeredClass("Logs");

#include "LogsTest.moc"
