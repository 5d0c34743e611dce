// SPDX-License-Identifier: MIT
#include "CMPath.h"

#include <QUrl>

CMPath CMPath::fromEncoded(const QByteArray& encoded)
{
    const QUrl url = QUrl::fromEncoded(QByteArray(encoded.constData()), QUrl::StrictMode);
    const QString path = url.path(QUrl::FullyDecoded);
    CMPath result;
    if (!url.isValid() || url.scheme().isEmpty() || !url.authority().isEmpty() || url.hasQuery() ||
        url.hasFragment() || !path.startsWith(QLatin1Char('/')) || path.size() == 1)
        return result;
    result.m_scheme = url.scheme();
    result.m_key = path.mid(1);
    return result;
}

QString CMPath::text() const
{
    return isValid() ? m_scheme + QStringLiteral(":/") + m_key : QString();
}
