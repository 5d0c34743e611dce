// SPDX-License-Identifier: MIT
// "core-library-child VERB [ARGUMENT...]": does in a process of its own what its caller must not or cannot
// do. What setValue() returns goes to standard output; the exit code is 0 unless the process is stopped.
#include <CMValueItem.h>
#include <QCoreApplication>
#include <QMap>
#include <QThread>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <functional>
#include <log4cplus/initializer.h>
#include <sys/resource.h>
#include <unistd.h>
#include <veskConnect.h>

/** Cannot be registered: it is not declared as a metatype. */
struct Undeclared
{
};

class Sender : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void undeclared(int count, const Undeclared& value);
    void pointed(const Undeclared* value);
};

namespace {

using Arguments = QStringList;

CMPath path(const QString& text)
{
    return CMPath::fromEncoded(text.toUtf8());
}

void say(const QString& text)
{
    std::puts(qPrintable(text));
}

void set(const Arguments& arguments)
{
    say(CMValueItem(path(arguments.at(0))).setValue(VeskValue(arguments.at(1))));
}

void get(const Arguments& arguments)
{
    say(CMValueItem(path(arguments.at(0))).value().string_());
}

// set-many PREFIX COUNT
void setMany(const Arguments& arguments)
{
    const CMValueItem open(path(arguments.at(0) + QLatin1Char('0'))); // keeps the store in use
    for (int i = 0; i < arguments.at(1).toInt(); ++i)
        set({arguments.at(0) + QString::number(i), QString::number(i)});
}

// unprivileged VERB [ARGUMENT...]: for root, nothing is forbidden, so another user is taken then.
void unprivileged(const Arguments& arguments);

// No file may grow beyond 100 bytes, which is enough for a lock. Says what the item shows then, too.
void setWithFullDisk(const Arguments& arguments)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100, 100};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return;
    CMValueItem item(path(arguments.at(0)));
    say(item.setValue(VeskValue(arguments.at(1))));
    say(item.value().string_());
}

/** An object that lives in a thread that never ran. */
template <typename T>
struct Elsewhere
{
    QThread thread;
    T object;

    template <typename... Arguments>
    explicit Elsewhere(Arguments&&... arguments)
        : object(std::forward<Arguments>(arguments)...)
    {
        object.moveToThread(&thread);
    }
};

void connectUndeclaredAcrossThreads(const Arguments& /*arguments*/)
{
    Sender sender;
    Elsewhere<QObject> receiver;
    veskConnect(&sender, &Sender::undeclared, &receiver.object, [](int, const Undeclared&) {});
}

void connectUndeclaredInOneThread(const Arguments& /*arguments*/)
{
    Sender sender;
    QObject receiver;
    veskConnect(&sender, &Sender::undeclared, &receiver, [](int, const Undeclared&) {});
}

void connectPointerAcrossThreads(const Arguments& /*arguments*/)
{
    Sender sender;
    Elsewhere<QObject> receiver;
    veskConnect(&sender, &Sender::pointed, &receiver.object, [](const Undeclared*) {});
}

void connectToNobody(const Arguments& /*arguments*/)
{
    Sender sender;
    veskConnect(&sender, &Sender::undeclared, static_cast<QObject*>(nullptr), &QObject::deleteLater);
}

// The very first use of VeskValue in this process.
void connectItemAcrossThreads(const Arguments& /*arguments*/)
{
    CMValueItem item(path(QStringLiteral("systemmanager:/name")));
    Elsewhere<QObject> receiver;
    veskConnect(&item, &CMValueItem::changed, &receiver.object, [](const VeskValue&, const VeskValue&) {});
}

void failAssertion(const Arguments& /*arguments*/)
{
    veskAssert(true, "this one holds", "here.cpp", 6);
    veskAssert(false, "what should hold", "here.cpp", 7);
}

/** Whether there is such a verb. */
bool run(const Arguments& arguments)
{
    const QMap<QString, std::function<void(const Arguments&)>> verbs = {
        {QStringLiteral("set"), &set},
        {QStringLiteral("get"), &get},
        {QStringLiteral("set-many"), &setMany},
        {QStringLiteral("unprivileged"), &unprivileged},
        {QStringLiteral("set-with-full-disk"), &setWithFullDisk},
        {QStringLiteral("connect-undeclared-across-threads"), &connectUndeclaredAcrossThreads},
        {QStringLiteral("connect-undeclared-in-one-thread"), &connectUndeclaredInOneThread},
        {QStringLiteral("connect-pointer-across-threads"), &connectPointerAcrossThreads},
        {QStringLiteral("connect-item-across-threads"), &connectItemAcrossThreads},
        {QStringLiteral("connect-to-nobody"), &connectToNobody},
        {QStringLiteral("fail-assertion"), &failAssertion},
    };
    const auto verb = verbs.value(arguments.value(0));
    if (verb)
        verb(arguments.mid(1));
    return bool(verb);
}

void unprivileged(const Arguments& arguments)
{
    if (geteuid() != 0 || setuid(65534) == 0)
        run(arguments);
}

} // namespace

int main(int argc, char* argv[])
{
    const log4cplus::Initializer initializer;
    const QCoreApplication application(argc, argv);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    return run(application.arguments().mid(1)) ? 0 : 2;
}

#include "child.moc"
