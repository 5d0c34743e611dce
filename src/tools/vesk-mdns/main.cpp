// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "DescriptorLimit.h"
#include "DnsSdLibrary.h"
#include "ExitCode.h"
#include "Session.h"

#include <QCoreApplication>

namespace {

// Qt would read the arguments in the locale's encoding and lose what "C" cannot hold; names of services are
// UTF-8 whatever the locale.
QStringList wordsOf(int argc, char** argv)
{
    QStringList words;
    for (int i = 0; i < argc; ++i)
        words.append(QString::fromUtf8(argv[i]));
    return words;
}

int run(Session* session)
{
    switch (session->commandLine.command) {
    case CommandLine::Command::Help:
        session->output.raw(helpText().toUtf8());
        return ExitDone;
    case CommandLine::Command::Version:
        session->output.line("vesk-mdns " VESK_MDNS_VERSION);
        return ExitDone;
    case CommandLine::Command::Browse:
        return browse(session);
    case CommandLine::Command::BrowseTypes:
        return browseTypes(session);
    case CommandLine::Command::Resolve:
        return resolve(session);
    case CommandLine::Command::Advertise:
        return advertise(session);
    case CommandLine::Command::ConfigGet:
    case CommandLine::Command::ConfigSet:
    case CommandLine::Command::ConfigUnset:
        return config(session);
    case CommandLine::Command::Doctor:
        return doctor(session);
    }
    return ExitWrongArguments;
}

} // namespace

int main(int argc, char** argv)
{
    raiseDescriptorLimit();
    QCoreApplication application(argc, argv);
    try {
        const CommandLine commandLine = parseCommandLine(wordsOf(argc, argv));
        if (!commandLine.backend.isEmpty() && !chooseBackend(commandLine.backend))
            throw UsageError("the DNS-SD library " + libraryFile() + " has no backends; leave --backend out");
        Session session(commandLine);
        return run(&session);
    } catch (const UsageError& error) {
        Output::complain(QString::fromUtf8(error.what()));
        return ExitWrongArguments;
    }
}
