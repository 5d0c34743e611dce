// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INSTANCENAME_H
#define VESK_DNSSD_INSTANCENAME_H

#include <string>
#include <string_view>

namespace vesk::dnssd {

/**
 * The name to try after a conflict: "X" gives "X (2)", "X (2)" gives "X (3)". From 10 on it leaps at random,
 * so that many hosts with one name settle soon. Shortened to fit a label.
 */
std::string nextInstanceName(std::string_view name);

} // namespace vesk::dnssd

#endif
