// SPDX-License-Identifier: MIT
#include "RowWindow.h"

#include <algorithm>

void RowWindow::fit(int rows, int page)
{
    m_rows = rows;
    m_page = page;
    m_above = std::clamp(m_above, 0, std::max(0, rows - page));
}

void RowWindow::move(Key key)
{
    switch (key) {
    case Key::Up:
        --m_above;
        break;
    case Key::Down:
        ++m_above;
        break;
    case Key::PageUp:
        m_above -= m_page;
        break;
    case Key::PageDown:
        m_above += m_page;
        break;
    case Key::Home:
        m_above = 0;
        break;
    case Key::End:
        m_above = m_rows;
        break;
    case Key::Quit:
        break;
    }
    fit(m_rows, m_page);
}

int RowWindow::below() const
{
    return std::max(0, m_rows - m_page - m_above);
}
