// SPDX-License-Identifier: MIT
#ifndef COMMAND_LINE_H
#define COMMAND_LINE_H

#include <MDnsLister.h>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>
#include <optional>
#include <stdexcept>

/** What the command line asks for, checked. */
struct CommandLine
{
    enum class Command
    {
        Help,
        Version,
        Browse,
        BrowseTypes,
        Resolve,
        Advertise,
        ConfigGet,
        ConfigSet,
        ConfigUnset,
        Doctor
    };

    Command command = Command::Help;
    QString name;                         ///< instance name of resolve and advertise
    QString type;                         ///< such as "_demo._tcp", in lower case
    int port = 0;                         ///< of advertise, 0 to 65535
    QVector<QPair<QString, QString>> txt; ///< of advertise, in the order given
    QString path;                         ///< of config, such as "systemmanager:/key"
    QString value;                        ///< of config set
    MDnsProtocolType protocol = static_cast<MDnsProtocolType>(-1); ///< both families unless chosen
    std::optional<int> timeoutMs;                                  ///< above 0
    QString logConfig;                                             ///< log4cplus properties file
    QString backend; ///< of the DNS-SD library: "auto", "daemon", "process", or empty for its own choice
    bool json = false;
    bool verbose = false;
};

/** A wrong command line, with one line that says what is wrong and how to put it right. */
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& text)
        : std::runtime_error(text.toStdString())
    {
    }
};

/**
 * Reads a command line, the program's name first.
 *
 * @throw UsageError
 */
CommandLine parseCommandLine(const QStringList& words);

/** One entry of a TXT record from "KEY=VALUE". @throw UsageError */
QPair<QString, QString> parseTxtEntry(const QString& text);

/** What --help prints. */
QString helpText();

#endif
