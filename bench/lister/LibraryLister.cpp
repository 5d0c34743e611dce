// SPDX-License-Identifier: MIT
#include "ListerRun.h"
#include "QtLister.h"

#include <MDnsLister.h>

namespace bench {

Outcome listByLister(unsigned instances, std::chrono::seconds limit)
{
    ListerRun run(instances, limit);
    QObject parent;
    MDnsLister* lister = MDnsListerFactory::create(&parent, ServiceType, MDnsProtocolType::IPv4);
    QObject::connect(lister, &MDnsLister::clientChanged, &parent, [&](const QString& name) {
        if (lister->getClient(name).txt.contains("model"))
            run.complete(name);
    });
    return run.run();
}

} // namespace bench
