// SPDX-License-Identifier: MIT
#ifndef CM_PATH_H
#define CM_PATH_H

#include "VeskApiExport.h"

#include <QByteArray>
#include <QString>

/**
 * The address of one configuration item: a scheme, which names the settings it belongs to, and a key in them.
 *
 * Written "scheme:/key", for example "systemmanager:/bonjourForceServiceName".
 */
class VESK_API_EXPORT CMPath
{
public:
    /** A path that names nothing. */
    CMPath() = default;

    /**
     * Reads the percent-encoded form of a path.
     *
     * The text ends at the first zero byte, so a C string handed over together with its terminator names the
     * same item as without it. The scheme is folded to lower case (RFC 3986, section 3.1), the key keeps its
     * case. Anything else than "scheme:/key" with a non-empty key gives a path that is not valid.
     */
    static CMPath fromEncoded(const QByteArray& encoded);

    /** Whether the path names an item. */
    bool isValid() const { return !m_key.isEmpty(); }
    /** The settings that the item belongs to, in lower case; a letter, then letters, digits, "+", "-" and
     * ".". */
    const QString& scheme() const { return m_scheme; }
    /** The key without its leading slash; inner slashes stand as they are. */
    const QString& key() const { return m_key; }
    /** "scheme:/key", for messages; empty when not valid. */
    QString text() const;

private:
    QString m_scheme;
    QString m_key;
};

#endif
