// SPDX-License-Identifier: MIT
#include "Arguments.h"
#include "Commands.h"
#include "ExitCode.h"
#include "Session.h"

#include <QCoreApplication>

namespace {

// Qt would read the arguments in the locale's encoding and lose what "C" cannot hold; names of services are
// UTF-8 whatever the locale.
QStringList commandLine(int argc, char** argv)
{
    QStringList words;
    for (int i = 0; i < argc; ++i)
        words.append(QString::fromUtf8(argv[i]));
    return words;
}

int run(Session* session)
{
    switch (session->arguments.command) {
    case Arguments::Command::Help:
        session->output.raw(helpText().toUtf8());
        return ExitDone;
    case Arguments::Command::Version:
        session->output.line("vesk-mdns " VESK_MDNS_VERSION);
        return ExitDone;
    case Arguments::Command::Browse:
        return browse(session);
    case Arguments::Command::BrowseTypes:
        return browseTypes(session);
    case Arguments::Command::Resolve:
        return resolve(session);
    case Arguments::Command::Advertise:
        return advertise(session);
    case Arguments::Command::ConfigGet:
    case Arguments::Command::ConfigSet:
    case Arguments::Command::ConfigUnset:
        return config(session);
    case Arguments::Command::Doctor:
        return doctor(session);
    }
    return ExitWrongArguments;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    try {
        Session session(parseArguments(commandLine(argc, argv)));
        return run(&session);
    } catch (const UsageError& error) {
        Output::complain(QString::fromUtf8(error.what()));
        return ExitWrongArguments;
    }
}
