// SPDX-License-Identifier: MIT
#ifndef EXIT_CODE_H
#define EXIT_CODE_H

/** How the program ends; the manual page documents these numbers. */
enum ExitCode
{
    ExitDone = 0,
    ExitNothing = 1,        ///< nothing was found, set or in order
    ExitWrongArguments = 2, ///< nothing was tried
    ExitRefused = 3         ///< the DNS-SD library or the settings refused the work
};

#endif
