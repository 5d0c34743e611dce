// SPDX-License-Identifier: MIT
#ifndef ALTERNATE_SCREEN_H
#define ALTERNATE_SCREEN_H

#include "Output.h"

#include <QSize>
#include <QStringList>
#include <memory>
#include <termios.h>

/**
 * A page of its own on the terminal, beside what stands there: shown from construction to destruction, while
 * the cursor is hidden and typed characters are not echoed. What stood there before is then shown again.
 */
class AlternateScreen
{
public:
    explicit AlternateScreen(Output* output);
    ~AlternateScreen();
    AlternateScreen(const AlternateScreen&) = delete;
    AlternateScreen& operator=(const AlternateScreen&) = delete;

    /** Columns and rows of the terminal now. */
    static QSize size();

    /** Replaces the page by @p lines, as many as fit. Every line must fit the width. */
    void show(const QStringList& lines);

private:
    Output* m_output;
    std::unique_ptr<termios> m_modesBefore;
};

#endif
