// SPDX-License-Identifier: MIT
#ifndef VESK_API_EXPORT_H
#define VESK_API_EXPORT_H

#include <QtGlobal>

#if defined(VESK_API_BUILD)
#define VESK_API_EXPORT Q_DECL_EXPORT
#else
#define VESK_API_EXPORT Q_DECL_IMPORT
#endif

#endif
