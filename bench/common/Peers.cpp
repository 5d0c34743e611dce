// SPDX-License-Identifier: MIT
#include "Peers.h"

namespace bench {

std::optional<int> runPeer(const std::vector<std::string>& arguments)
{
    if (arguments.size() == 2 && arguments[0] == "publish")
        return publish(static_cast<unsigned>(std::stoul(arguments[1])));
    if (arguments.size() == 2 && arguments[0] == "browse")
        return browse(static_cast<unsigned>(std::stoul(arguments[1])));
    return std::nullopt;
}

} // namespace bench
