// SPDX-License-Identifier: MIT
#ifndef CM_VALUE_ITEM_H
#define CM_VALUE_ITEM_H

#include "CMPath.h"
#include "VeskValue.h"

#include <QObject>
#include <QSharedPointer>

class ConfigStore;

/**
 * One live item of the device's configuration.
 *
 * @code
 * auto* item = new CMValueItem(CMPath::fromEncoded("systemmanager:/bonjourForceServiceName"), parent);
 * veskConnect(item, &CMValueItem::changed, receiver, &Receiver::on_name_changed);
 * @endcode
 *
 * Items sit on a store that survives a restart: one JSON object per scheme, `<scheme>.json`, in the directory
 * named by the environment variable `VESK_CONFIG_DIR`, else in `vesk` below the XDG configuration directory.
 * The file is watched: when this process, another one or an editor changes it, whether or not it or its
 * directory existed before, every live item whose value differs then reports it, 20 to 500 ms later. A file
 * that cannot be parsed leaves the last good values in force and logs one warning until it is mended. Reading
 * makes neither file nor directory.
 *
 * An item belongs to the thread that made it and needs an event loop there.
 */
class VESK_API_EXPORT CMValueItem : public QObject
{
    Q_OBJECT

public:
    /**
     * Binds to the item at @p path and reads its value; nothing is emitted for it. A path that is not valid
     * is logged at WARN; such an item stays unset and never changes.
     */
    explicit CMValueItem(const CMPath& path, QObject* parent = nullptr);
    ~CMValueItem() override;

    /** The value last read or written; unset when the store holds none. */
    const VeskValue& value() const { return m_value; }

    /**
     * Stores @p value, or removes the item from the store when @p value is unset. Written to disk before the
     * call returns; every live item of the path in this thread then reports the change, others when they
     * notice the file.
     *
     * @return an empty text, or one sentence that says why nothing was stored.
     */
    QString setValue(const VeskValue& value);

Q_SIGNALS:
    /**
     * The stored value became @p newValue. Emitted once per change, after value() shows it; not for a write
     * of the same value. The receiver may delete the item.
     */
    void changed(const VeskValue& newValue, const VeskValue& oldValue);

private:
    void refresh();

    CMPath m_path;
    QSharedPointer<ConfigStore> m_store;
    VeskValue m_value;
};

#endif
