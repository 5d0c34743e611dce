// SPDX-License-Identifier: MIT
#ifndef DEATH_H
#define DEATH_H

#include <QByteArray>
#include <functional>

/**
 * Runs @p act in a child process that is to die of SIGABRT.
 *
 * @return what the child wrote to its standard error before; null when it did not abort.
 */
QByteArray lastWordsOf(const std::function<void()>& act);

#endif
