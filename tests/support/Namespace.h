// A network of a test's own, gone with the test.
#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/ScriptedPeer.h"

namespace uxvisa::test {

// A network namespace. It lives as long as its descriptor and the sockets in it, so nothing is left
// behind, not even by a test that dies.
class NetworkNamespace {
public:
    // Why there can be none here; empty when there can.
    static std::string WhyUnavailable();

    // With the loopback interface up and nothing else.
    NetworkNamespace();

    // Runs in a thread inside: sockets it opens and threads it starts belong to the namespace.
    void Do(const std::function<void()>& work) const;
    // Runs the ip command with these words; a failure fails the test.
    void Ip(const std::string& words) const;
    // What the ip command takes for a name of this namespace.
    std::string Path() const;
    // Two interfaces named "wire", wired to each other: one here, one in `other`, both up.
    void WireTo(const NetworkNamespace& other, const std::string& ownAddress,
                const std::string& otherAddress) const;

private:
    Descriptor m_namespace;
};

// Namespaces that are wired to each other by a switch.
class Lan {
public:
    Lan();
    // The namespace gets an interface of that name; the address is one of a network of 256.
    void Attach(const NetworkNamespace& host, const std::string& interface,
                const std::string& address);

private:
    NetworkNamespace m_switch;
    int m_ports = 0;
};

// For a fixture's SetUp: skips the test for a reason that is not empty, but fails it when the
// environment says CI=true.
void SkipUnlessAvailable(const std::string& reason);

// A test that needs namespaces.
class NamespaceTest : public ::testing::Test {
protected:
    void SetUp() override;
};

} // namespace uxvisa::test
