// SPDX-License-Identifier: MIT
#ifndef ROW_WINDOW_H
#define ROW_WINDOW_H

#include "KeyDecoder.h"

/** Which of many rows are in sight. */
class RowWindow
{
public:
    /** There are @p rows now, and room for @p page of them. */
    void fit(int rows, int page);
    /** Moves as @p key asks, but not beyond the first and the last row. */
    void move(Key key);

    /** How many rows are hidden before those in sight. */
    int above() const { return m_above; }
    /** How many rows are hidden after those in sight. */
    int below() const;

private:
    int m_rows = 0;
    int m_page = 0;
    int m_above = 0;
};

#endif
