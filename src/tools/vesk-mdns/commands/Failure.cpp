// SPDX-License-Identifier: MIT
#include "Failure.h"

#include "DnsSdError.h"
#include "DnsSdLibrary.h"
#include "ExitCode.h"
#include "Output.h"

int refuse(const QString& what, const QString& why)
{
    Output::complain(QString("cannot %1: %2").arg(what, why));
    return ExitRefused;
}

int foundNo(const QString& what)
{
    Output::complain(QString("found no %1; 'vesk-mdns doctor' says whether all is in order here").arg(what));
    return ExitNothing;
}

QString obstacle()
{
    if (!isBusMissing())
        return QString();
    const ErrorWords words = errorWords(kDNSServiceErr_ServiceNotRunning);
    return words.meaning + "; " + words.advice;
}
