// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_BACKENDUNDERTEST_H
#define VESK_TESTS_BACKENDUNDERTEST_H

#include "Backend.h"
#include "EventLoop.h"

#include <functional>
#include <memory>
#include <string>

namespace vesk::dnssd::tests {

/**
 * A backend for the tests of the contract, with the network and the responder that it works on. For a further
 * backend, implement this class in one file, define makeBackendUnderTest() there, and name the file in a line
 * of CMakeLists.txt. Each test makes an object of its own and finds the responder there, and no service.
 *
 * All services have the port 8080.
 */
class BackendUnderTest
{
public:
    virtual ~BackendUnderTest() = default;

    virtual const Clock& clock() const = 0;
    virtual std::unique_ptr<Backend> make(EventLoop& loop, Backend::StateListener& listener) = 0;

    /// Runs the loop until the condition holds. False: it did not within a generous time.
    virtual bool runUntil(EventLoop& loop, const std::function<bool()>& condition) = 0;

    /// Another host publishes a service with that one TXT item, or withdraws it.
    virtual void announce(const std::string& name, const std::string& txtItem) = 0;
    virtual void withdraw(const std::string& name) = 0;
    /// Whether another host sees a service with that TXT item.
    virtual bool isSeen(const std::string& name, const std::string& txtItem) = 0;
    /// Whether another host sees that address, and no other, as the name's.
    virtual bool isAddressSeen(const Labels& name, const std::string& address) = 0;

    /// A program of this host, or another host that will defend it, has the name.
    virtual void takeNameHere(const std::string& name) = 0;
    virtual void takeNameElsewhere(const std::string& name) = 0;

    /// The responder goes, without a word to the backend, and comes back. With it goes the way to it.
    virtual void stopResponder() = 0;
    virtual void startResponder() = 0;

    /// Leaves the backend no room for another query, and gives it back.
    virtual void leaveNoRoom(Backend& backend) = 0;
    virtual void makeRoom() = 0;

    /// The test is over; what was started for it ends before the backend does.
    virtual void finish() {}

    /// Of all the services; the responder knows none of that type when the test begins.
    virtual Labels type() const = 0;
    virtual uint32_t interface() const = 0;
    /// The name of the host that the backend runs on.
    virtual std::string hostName() const = 0;
};

/// The backend that the program tests.
std::unique_ptr<BackendUnderTest> makeBackendUnderTest();

} // namespace vesk::dnssd::tests

#endif
