// SPDX-License-Identifier: MIT
#include "Guards.h"

#include <QObject>
#include <dirent.h>
#include <mutex>

// The table of Qt's hooks for inspecting tools. Its layout is fixed: version, size, Qt's version, then the
// functions called when an object is made and when it goes.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

constexpr int addObjectHook = 3;
constexpr int removeObjectHook = 4;

std::mutex mutex; // Qt makes objects of its own in other threads

} // namespace

Guards* Guards::current = nullptr;

void Guards::objectMade(QObject* object)
{
    const std::lock_guard lock(mutex);
    if (current)
        current->objects.insert(object);
}

void Guards::objectGone(QObject* object)
{
    const std::lock_guard lock(mutex);
    if (current)
        current->objects.remove(object);
}

void Guards::messageArrived(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtWarningMsg || type == QtCriticalMsg) {
        QList<QRegularExpression>& expected = current->expectedWarnings;
        for (int at = 0; at < expected.size(); ++at) {
            if (expected.at(at).match(text).hasMatch()) {
                expected.removeAt(at);
                return;
            }
        }
        current->unexpectedWarnings.append(text);
    }
    current->nextHandler(type, context, text);
}

int openDescriptors()
{
    int count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory))
        ++count;
    closedir(directory);
    return count - 3; // ".", ".." and the directory itself
}

void Guards::install()
{
    qtHookData[addObjectHook] = reinterpret_cast<quintptr>(&objectMade);
    qtHookData[removeObjectHook] = reinterpret_cast<quintptr>(&objectGone);
}

void Guards::begin()
{
    const QtMessageHandler installed = qInstallMessageHandler(&messageArrived);
    const std::lock_guard lock(mutex);
    outer = current;
    nextHandler = outer ? outer->nextHandler : installed;
    expectedWarnings.clear();
    unexpectedWarnings.clear();
    objects.clear();
    descriptors = openDescriptors();
    current = this;
}

QStringList Guards::end()
{
    const std::lock_guard lock(mutex);
    current = outer;
    if (!outer)
        qInstallMessageHandler(nextHandler);
    QStringList complaints;
    for (const QString& warning : unexpectedWarnings)
        complaints.append(QStringLiteral("Qt warned: ") + warning);
    for (const QRegularExpression& warning : expectedWarnings)
        complaints.append(QStringLiteral("Qt did not warn: ") + warning.pattern());
    const int now = openDescriptors();
    if (now != descriptors)
        complaints.append(QStringLiteral("Descriptors: %1 before, %2 after").arg(descriptors).arg(now));
    for (const QObject* object : objects)
        complaints.append(QStringLiteral("Still alive: ") + QLatin1String(object->metaObject()->className()));
    return complaints;
}

void Guards::expectWarning(const QString& pattern)
{
    current->expectedWarnings.append(QRegularExpression(pattern));
}
