// SPDX-License-Identifier: MIT
#ifndef FAILURE_H
#define FAILURE_H

#include <QString>

/** Says that the DNS-SD library cannot do @p what, and why, with what to do. @return ExitRefused */
int refuse(const QString& what, const QString& why);

/** Says that no @p what was found in time. @return ExitNothing */
int foundNo(const QString& what);

/** Why no operation of the DNS-SD library can begin its work now, and what to do; empty when nothing is known
 * to be in its way. The library's start calls do not tell this: an operation waits for a missing bus or
 * daemon. */
QString obstacle();

#endif
