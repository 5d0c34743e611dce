// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_QT_LISTER_H
#define VESK_BENCH_QT_LISTER_H

#include "Outcome.h"

#include <chrono>

namespace bench {

/// By this library's lister, in Qt's event loop.
Outcome listByLister(unsigned instances, std::chrono::seconds limit);

/// By libavahi-client in the same event loop: a browser, and a resolver for each instance, released with its
/// answer.
Outcome listBare(unsigned instances, std::chrono::seconds limit);

} // namespace bench

#endif
