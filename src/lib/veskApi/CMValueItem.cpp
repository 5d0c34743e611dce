// SPDX-License-Identifier: MIT
#include "CMValueItem.h"

#include "ConfigStore.h"
#include "textStreams.h"

#include <log4cplus/loggingmacros.h>

CMValueItem::CMValueItem(const CMPath& path, QObject* parent)
    : QObject(parent)
    , m_path(path)
{
    if (!path.isValid()) {
        LOG4CPLUS_WARN(ConfigStore::logger(),
                       "Not a configuration path, write it as \"scheme:/key\"; the item stays unset");
        return;
    }
    m_store = ConfigStore::ofScheme(path.scheme());
    m_value = m_store->value(path.key());
    connect(m_store.data(), &ConfigStore::reloaded, this, &CMValueItem::refresh);
}

CMValueItem::~CMValueItem() = default;

QString CMValueItem::setValue(const VeskValue& value)
{
    if (!m_store)
        return QStringLiteral("Not a configuration path, write it as \"scheme:/key\".");
    // A slot of changed() may delete this item, and with it the last owner of the store.
    const QSharedPointer<ConfigStore> store = m_store;
    return store->setValue(m_path.key(), value);
}

void CMValueItem::refresh()
{
    const VeskValue oldValue = m_value;
    m_value = m_store->value(m_path.key());
    if (m_value == oldValue)
        return;
    const VeskValue newValue = m_value;
    Q_EMIT changed(newValue, oldValue); // `this` may be gone after this line
}
