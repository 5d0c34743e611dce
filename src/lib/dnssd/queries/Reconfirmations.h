// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECONFIRMATIONS_H
#define VESK_DNSSD_RECONFIRMATIONS_H

#include "Reconfirmation.h"

#include <string>
#include <unordered_map>

namespace vesk::dnssd {

/// The records that applications doubt, one reconfirmation for each, however often it is asked for.
class Reconfirmations
{
public:
    Reconfirmations(EventLoop& loop, Backend& backend, Reconfirmation::Owner& owner);

    bool isEmpty() const { return m_all.empty(); }

    /// Begins one for a record on its interface, or has it ask again.
    void begin(const Record& record);

    /// Whether the record counts as gone. It is asked for again, now that an operation waits for it.
    bool keepsBack(const Record& record);

    /// Takes out the record's; null when there is none.
    std::unique_ptr<Reconfirmation> end(const Record& record);

private:
    void forgetExpired();

    EventLoop& m_loop;
    Backend& m_backend;
    Reconfirmation::Owner& m_owner;
    std::unordered_map<std::string, std::unique_ptr<Reconfirmation>> m_all; ///< by record
};

} // namespace vesk::dnssd

#endif
