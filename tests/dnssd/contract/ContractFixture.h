// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_CONTRACTFIXTURE_H
#define VESK_TESTS_CONTRACTFIXTURE_H

#include "BackendUnderTest.h"
#include "dns_sd.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace vesk::dnssd::tests {

/// What every listener of a test does when it is called: nothing calls back from inside a call.
class Listener
{
public:
    std::function<void()> onCall; ///< what the test does in each call
    int calls = 0;

protected:
    ~Listener() = default;
    void called();
};

class RecordLog final : public RecordListener, public Listener
{
public:
    struct Event
    {
        Record record;
        Transport transport;
        bool isPresent;
        bool isCached;
        bool isBeforeExhausted;
    };
    std::vector<Event> events;
    int exhausted = 0;
    std::optional<BackendError> error;

    /// Whether the last that was told of an instance, in pointers to it, is that it is there.
    bool has(const std::string& instance) const;

private:
    void onRecord(const RecordEvent& event) override;
    void onCacheExhausted() override;
    void onQueryFailed(BackendError failure) override;
};

class ResolveLog final : public ResolveListener, public Listener
{
public:
    std::optional<ResolvedService> service;
    bool hasFailed = false;

private:
    void onResolved(const ResolvedService& resolved) override;
    void onResolveFailed() override;
};

class PublishLog final : public PublishListener, public Listener
{
public:
    int published = 0;
    int conflicts = 0;
    std::optional<BackendError> error;

private:
    void onPublished() override;
    void onNameConflict() override;
    void onPublishFailed(BackendError failure) override;
};

/// A backend that is in use and running.
class Contract : public testing::Test, private Backend::StateListener
{
protected:
    Contract();
    ~Contract() override;
    void SetUp() override;

    BackendUnderTest& world() { return *m_world; }
    Backend& backend() { return *m_backend; }
    EventLoop& loop() { return m_loop; }
    const std::vector<Backend::State>& states() const { return m_states; }

    bool runUntil(const std::function<bool()>& condition) { return m_world->runUntil(m_loop, condition); }
    bool runUntilState(Backend::State state);

    /// The calls of the backend, which none of the listeners may be called from.
    Backend::Result<Backend::ActiveQuery> startQuery(const Query& query, RecordLog& log);
    Backend::Result<Backend::ActiveQuery> browse(RecordLog& log) { return startQuery(instances(), log); }
    Backend::Result<Backend::ActiveQuery> askHosts(const Query& query, RecordLog& log);
    Backend::Result<Backend::ActiveResolve> resolveOnce(const std::string& name, ResolveLog& log,
                                                        bool withAddress = false);
    Backend::Result<Backend::Publication> publish(const std::string& name, PublishLog& log);
    /// An address of this host's by another name, or what a service of that name is to be.
    Backend::Result<Backend::RecordPublication> publishAddress(PublishedRecord::Claim claim, PublishLog& log);
    Backend::Result<Backend::RecordPublication> publishUniqueService(const std::string& name,
                                                                     PublishLog& log);
    template <typename Started>
    void end(std::unique_ptr<Started>& started);

    /// The name of the address.
    Labels addressName() const;
    /// The query for the pointers to all instances.
    Query instances() const;
    static std::string item(const std::string& text) { return static_cast<char>(text.size()) + text; }

private:
    void onBackendState(Backend::State state) override;

    std::unique_ptr<BackendUnderTest> m_world;
    EventLoop m_loop;
    std::unique_ptr<Backend> m_backend;
    std::vector<Backend::State> m_states; ///< all that the listener was told
};

/// While there is one, the backend is in a call of the test's.
class InCall
{
public:
    InCall() { ++depth; }
    ~InCall() { --depth; }
    InCall(const InCall&) = delete;
    InCall& operator=(const InCall&) = delete;
    static inline int depth = 0;
};

template <typename Started>
void Contract::end(std::unique_ptr<Started>& started)
{
    const InCall inCall;
    started.reset();
}

} // namespace vesk::dnssd::tests

#endif
