// SPDX-License-Identifier: MIT
#ifndef MDNS_HELPERS_EXPORT_H
#define MDNS_HELPERS_EXPORT_H

#include <QtGlobal>

#if defined(MDNS_HELPERS_BUILD)
#define MDNS_HELPERS_EXPORT Q_DECL_EXPORT
#else
#define MDNS_HELPERS_EXPORT Q_DECL_IMPORT
#endif

#endif
