// SPDX-License-Identifier: MIT
#ifndef DNS_SD_ERROR_H
#define DNS_SD_ERROR_H

#include <QString>
#include <dns_sd.h>

/** An error of the DNS-SD library for people. */
struct ErrorWords
{
    QString meaning;
    QString advice; ///< what to do
};

/** @p error in words; a number that dns_sd.h does not have is told as it is. */
ErrorWords errorWords(DNSServiceErrorType error);

/** Meaning, number and advice in one line: "the name is taken already (error -65548); choose another one". */
QString errorLine(DNSServiceErrorType error);

/** The error number that a line of the libraries' log reports; NoError when it reports none. */
DNSServiceErrorType reportedError(const QString& logLine);

#endif
