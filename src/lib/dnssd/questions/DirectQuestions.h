// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DIRECTQUESTIONS_H
#define VESK_DNSSD_DIRECTQUESTIONS_H

#include "Backend.h"
#include "MulticastSocket.h"

#include <map>

namespace vesk::dnssd {

/**
 * Questions to the hosts of a link that no responder of this host has a part in: it would name the answers
 * that it knows, and so silence the hosts that have them. Sockets are open while there are questions.
 */
class DirectQuestions
{
public:
    explicit DirectQuestions(EventLoop& loop);
    ~DirectQuestions();

    /// Asks once, over IPv4 and IPv6. The listener is told the answers until the question is destroyed.
    Backend::Result<Backend::ActiveQuery> ask(const Query& query, RecordListener& listener);

private:
    class Question;
    struct Sockets;

    bool send(const Query& query, uint16_t id);
    void receive(std::string_view message, Transport transport);
    void forget(uint16_t id);

    EventLoop& m_loop;
    std::map<uint16_t, Question*> m_questions;
    std::unique_ptr<Sockets> m_sockets;
};

} // namespace vesk::dnssd

#endif
