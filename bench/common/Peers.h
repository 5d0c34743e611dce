// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_PEERS_H
#define VESK_BENCH_PEERS_H

#include <optional>
#include <string>
#include <vector>

namespace bench {

/// Does what a BackgroundProcess is started for, if the arguments say so; gives the exit status.
std::optional<int> runPeer(const std::vector<std::string>& arguments);

/// Publishes services until standard input is closed; prints "ready" when all are established.
int publish(unsigned instances);

/// Browses until standard input is closed; prints "ready" when that many instances are found.
int browse(unsigned instances);

} // namespace bench

#endif
