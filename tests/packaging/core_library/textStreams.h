// SPDX-License-Identifier: MIT
#pragma once
#include <QByteArray>
#include <QString>
#include <iosfwd>

std::ostream& operator<<(std::ostream& out, const QString& text);
std::ostream& operator<<(std::ostream& out, const QByteArray& bytes);
QByteArray QByteArray_leftUtf8(const QByteArray& bytes, int n);
