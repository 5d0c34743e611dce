// SPDX-License-Identifier: MIT
#pragma once
#include <QByteArray>

class CMPath
{
public:
    static CMPath fromEncoded(const QByteArray& encoded);
};
