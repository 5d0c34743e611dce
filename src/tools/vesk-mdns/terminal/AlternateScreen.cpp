// SPDX-License-Identifier: MIT
#include "AlternateScreen.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// Standard sequences (ECMA-48 and the private modes that all terminals in use share).
constexpr char enterPage[] = "\x1b[?1049h\x1b[?25l\x1b[?7l"; // other page, no cursor, no line wrapping
constexpr char leavePage[] = "\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char toTop[] = "\x1b[H";
constexpr char clearRestOfLine[] = "\x1b[K";
constexpr char clearRestOfPage[] = "\x1b[J";

} // namespace

AlternateScreen::AlternateScreen(Output* output)
    : m_output(output)
{
    termios modes = {};
    if (tcgetattr(STDIN_FILENO, &modes) == 0) {
        m_modesBefore = std::make_unique<termios>(modes);
        modes.c_lflag &= ~tcflag_t(ECHO | ICANON);
        tcsetattr(STDIN_FILENO, TCSANOW, &modes);
    }
    m_output->raw(enterPage);
}

AlternateScreen::~AlternateScreen()
{
    m_output->raw(leavePage);
    if (m_modesBefore)
        tcsetattr(STDIN_FILENO, TCSANOW, m_modesBefore.get());
}

QSize AlternateScreen::size()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0)
        return {size.ws_col, size.ws_row};
    return {80, 24};
}

void AlternateScreen::show(const QStringList& lines)
{
    QByteArray page = toTop;
    const QStringList fitting = lines.mid(0, size().height());
    for (int i = 0; i < fitting.size(); ++i) {
        if (i > 0)
            page += "\r\n";
        page += clearRestOfLine + fitting[i].toUtf8();
    }
    m_output->raw(page + clearRestOfPage);
}
