// SPDX-License-Identifier: MIT
#include "InstanceTrials.h"

#include "ReplyLine.h"

#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// How long nothing has to be handed on until instances are tried, and how often that is looked at.
constexpr auto Patience = 300ms;

/// The same while there are no descriptors, which the application may set free without a word.
constexpr auto PatienceWithoutDescriptors = 1s;

/// Names without a service behind them cost little traffic so, and one that has just come is soon tried.
constexpr std::size_t MostAtOnce = 32;

/// Long enough for a second query (RFC 6762 section 5.2).
constexpr auto LongestTrial = 1500ms;

} // namespace

/// Resolves one instance, in its turn among all resolves.
class InstanceTrials::Trial final : private ResolveListener
{
public:
    Trial(InstanceTrials& trials, InstanceAdmission::Trial subject)
        : m_trials(trials)
        , m_subject(std::move(subject))
        , m_timer(trials.m_loop, [this] { end(InstanceBacklog::Outcome::Silent); })
        , m_permit(trials.m_queries.resolveLimiter().request([this] { resolve(); }))
    {
    }

    const InstanceAdmission::Trial& subject() const { return m_subject; }

private:
    using Outcome = InstanceBacklog::Outcome;

    void resolve()
    {
        const BrowsedInstance& instance = m_subject.subject.instance;
        m_resolve = m_trials.m_queries.resolveOnce(instance.name, instance.interface, *this);
        if (m_resolve)
            m_timer.start(LongestTrial);
        else
            end(Outcome::Undone);
    }
    void onResolved(const ResolvedService&) override { end(Outcome::Answered); }
    void onResolveFailed() override { end(Outcome::Silent); }
    void end(Outcome outcome) { m_trials.end(*this, outcome); } // `this` is gone after this line

    InstanceTrials& m_trials;
    InstanceAdmission::Trial m_subject;
    Timer m_timer;
    std::unique_ptr<Backend::ActiveResolve> m_resolve;
    std::unique_ptr<ResolveLimiter::Permit> m_permit;
};

InstanceTrials::InstanceTrials(EventLoop& loop, QueryRegistry& queries,
                               std::shared_ptr<InstanceAdmission> admission)
    : m_loop(loop)
    , m_queries(queries)
    , m_admission(std::move(admission))
    , m_timer(loop, [this] { watch(); })
{
    m_admission->setWatcher([this] { m_loop.post([this] { m_timer.start(Patience); }); });
}

InstanceTrials::~InstanceTrials() = default;

void InstanceTrials::watch()
{
    m_admission->reconsider();
    if (!m_admission->isHoldingBack())
        return;
    const uint64_t handedOn = m_admission->untriedHandedOn();
    m_isStalled = handedOn == std::exchange(m_handedOnBefore, handedOn);
    const bool hasRoom = m_admission->admits(InstanceAdmission::Kind::Answered);
    if (hasRoom)
        beginTrials();
    m_timer.start(hasRoom ? Patience : PatienceWithoutDescriptors);
}

void InstanceTrials::beginTrials()
{
    while (m_trials.size() < MostAtOnce) {
        auto subject = m_admission->beginTrial(m_isStalled, m_loop.now());
        if (!subject)
            return;
        m_trials.emplace_back(*this, std::move(*subject));
    }
}

void InstanceTrials::end(Trial& trial, InstanceBacklog::Outcome outcome)
{
    const InstanceAdmission::Trial subject = trial.subject();
    m_trials.remove_if([&trial](const Trial& other) { return &other == &trial; });
    subject.line->endTrial(subject.subject.key, outcome, m_loop.now());
    if (outcome != InstanceBacklog::Outcome::Undone)
        beginTrials();
}

} // namespace vesk::dnssd
