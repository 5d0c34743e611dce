// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_LISTER_RUN_H
#define VESK_BENCH_LISTER_RUN_H

#include "Outcome.h"

#include <QCoreApplication>
#include <QSet>
#include <QString>
#include <QTimer>

#include <chrono>

namespace bench {

/// Runs Qt's event loop until that many instances are complete.
class ListerRun
{
public:
    ListerRun(unsigned instances, std::chrono::seconds limit)
        : m_wanted(static_cast<int>(instances))
    {
        QTimer::singleShot(limit, QCoreApplication::instance(), [] { QCoreApplication::quit(); });
    }

    void complete(const QString& instance)
    {
        m_complete.insert(instance);
        if (m_complete.size() >= m_wanted)
            QCoreApplication::quit();
    }

    Outcome run()
    {
        QCoreApplication::exec();
        const auto time = std::chrono::steady_clock::now() - m_begin;
        return {static_cast<unsigned>(m_complete.size()), time, Usage::now()};
    }

private:
    int m_wanted;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    QSet<QString> m_complete;
};

} // namespace bench

#endif
