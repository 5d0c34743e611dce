// SPDX-License-Identifier: MIT
// Runs one test class, "PROGRAM CLASS [QtTest options]"; all of them without one; "--classes" lists them.
#include "Guards.h"
#include "TestMain.h"

#include <QCoreApplication>
#include <QMap>
#include <QNetworkInterface>
#include <QTest>
#include <cstdio>
#include <log4cplus/initializer.h>
#include <malloc.h>
#include <memory>

namespace {

using Classes = QMap<QByteArray, std::function<QObject*()>>;

Classes& classes()
{
    static Classes all;
    return all;
}

int runClass(const std::function<QObject*()>& make, const QStringList& arguments)
{
    const std::unique_ptr<QObject> test(make());
    return QTest::qExec(test.get(), arguments);
}

} // namespace

/// Qt is built without the thread sanitizer, which sees none of its locks: what it reports from within Qt is
/// no race.
extern "C" Q_DECL_EXPORT const char* __tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}

TestClassBase::TestClassBase(const char* name, std::function<QObject*()> make)
{
    classes().insert(name, std::move(make));
}

int main(int argc, char* argv[])
{
    // Code that reads released memory finds rubbish there, with or without a sanitizer.
    mallopt(M_PERTURB, 0xA5);
    const log4cplus::Initializer initializer;
    const QCoreApplication application(argc, argv);
    Guards::install();

    QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--classes")) {
        for (const QByteArray& name : classes().keys())
            std::puts(name);
        return 0;
    }
    if (const auto chosen = classes().value(arguments.value(1).toUtf8())) {
        arguments.removeAt(1);
        return runClass(chosen, arguments);
    }
    // One failure fails the run.
    for (const auto& make : classes())
        if (const int failures = runClass(make, arguments))
            return failures;
    return 0;
}
