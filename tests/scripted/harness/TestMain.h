// SPDX-License-Identifier: MIT
#ifndef TEST_MAIN_H
#define TEST_MAIN_H

#include <QObject>
#include <functional>

/** Puts a test class into the program's list: `static const TestClass<Browse> registered("Browse");`. */
class TestClassBase
{
public:
    TestClassBase(const char* name, std::function<QObject*()> make);
};

template <typename T>
class TestClass : TestClassBase
{
public:
    explicit TestClass(const char* name)
        : TestClassBase(name, [] { return new T; })
    {
    }
};

#endif
