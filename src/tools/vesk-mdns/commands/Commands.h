// SPDX-License-Identifier: MIT
#ifndef COMMANDS_H
#define COMMANDS_H

class Session;

// Each carries out one command of the command line and returns an ExitCode.

int browse(Session* session);
int browseTypes(Session* session);
int resolve(Session* session);
int advertise(Session* session);
int config(Session* session);
int doctor(Session* session);

#endif
