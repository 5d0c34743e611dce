// SPDX-License-Identifier: MIT
#include "SystemBus.h"

#include <QTemporaryDir>
#include <QtTest>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/** A Unix socket that takes connections, and answers none of them, while this object lives. */
class ListeningSocket
{
public:
    /** @param name a path, or a zero byte and an abstract name. */
    explicit ListeningSocket(const QByteArray& name)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
        if (bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
            listen(m_descriptor, /* backlog */ 0) != 0)
            qFatal("cannot listen: %s", qPrintable(qt_error_string(errno)));
    }
    ~ListeningSocket() { close(m_descriptor); }
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

private:
    const int m_descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

class SystemBusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase();

    void busAtASocketIsListening_data();
    void busAtASocketIsListening();
    void busThatTakesNoMoreConnectionsIsListening();
    void busThatHasGoneIsNotListening();
    void addressWithoutASocketIsNotListening_data();
    void addressWithoutASocketIsNotListening();
    void busOverTcpIsTakenForListening();

private:
    std::unique_ptr<QTemporaryDir> directory;
    QByteArray path;
};

namespace {

void setAddress(const QByteArray& address)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
}

} // namespace

void SystemBusTest::init()
{
    directory = std::make_unique<QTemporaryDir>();
    path = directory->filePath("bus").toUtf8();
}

void SystemBusTest::cleanupTestCase()
{
    directory.reset();
}

void SystemBusTest::busAtASocketIsListening_data()
{
    QTest::addColumn<bool>("isAbstract");
    QTest::addColumn<QByteArray>("address"); // with @ for the socket's name
    QTest::newRow("path") << false << QByteArray("unix:path=@");
    QTest::newRow("escaped path") << false << QByteArray("unix:path=%2f@");
    QTest::newRow("path and identity") << false << QByteArray("unix:guid=1,path=@,x=y");
    QTest::newRow("second address") << false << QByteArray("unix:path=/nowhere;unix:path=@");
    QTest::newRow("abstract name") << true << QByteArray("unix:abstract=@");
}

void SystemBusTest::busAtASocketIsListening()
{
    QFETCH(bool, isAbstract);
    QFETCH(QByteArray, address);
    const ListeningSocket socket(isAbstract ? '\0' + path : path);
    setAddress(address.replace("@", path));
    QVERIFY(isSystemBusListening());
}

void SystemBusTest::busThatTakesNoMoreConnectionsIsListening()
{
    const ListeningSocket socket(path);
    setAddress("unix:path=" + path);
    // Each call leaves a connection that is never taken; soon no more fit in, and a connection would wait.
    for (int i = 0; i < 5; ++i)
        QVERIFY(isSystemBusListening());
}

void SystemBusTest::busThatHasGoneIsNotListening()
{
    {
        const ListeningSocket socket(path);
    }
    QVERIFY(QFile::exists(QString::fromUtf8(path)));
    setAddress("unix:path=" + path);
    QVERIFY(!isSystemBusListening());
}

void SystemBusTest::addressWithoutASocketIsNotListening_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::newRow("no such file") << QByteArray("unix:path=/nowhere");
    QTest::newRow("no such abstract name") << QByteArray("unix:abstract=/nowhere");
    QTest::newRow("path too long") << QByteArray("unix:path=/" + QByteArray(200, 'a'));
    QTest::newRow("no path") << QByteArray("unix:guid=1");
    QTest::newRow("no transport") << QByteArray("/run/dbus/system_bus_socket");
    QTest::newRow("empty path") << QByteArray("unix:path=");
}

void SystemBusTest::addressWithoutASocketIsNotListening()
{
    QFETCH(QByteArray, address);
    setAddress(address);
    QVERIFY(!isSystemBusListening());
}

void SystemBusTest::busOverTcpIsTakenForListening()
{
    setAddress("tcp:host=localhost,port=1");
    QVERIFY(isSystemBusListening());
}

QTEST_GUILESS_MAIN(SystemBusTest)
#include "SystemBusTest.moc"
