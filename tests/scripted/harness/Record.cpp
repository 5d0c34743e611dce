// SPDX-License-Identifier: MIT
#include "Record.h"

Record& Record::instance()
{
    static Record record;
    return record;
}

QStringList Record::of(int kinds) const
{
    QStringList texts;
    for (const Line& line : lines)
        if (line.kind & kinds)
            texts.append(line.text);
    return texts;
}
