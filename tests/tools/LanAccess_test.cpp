#include "tools/uxvisa/LanAccess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>

#include "support/Namespace.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using namespace uxvisa::tool;

namespace {

using Texts = std::vector<std::string>;

Descriptor BoundTo(const char* address, int port) {
    Descriptor bound(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in endpoint{};
    endpoint.sin_family = AF_INET;
    endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address, &endpoint.sin_addr);
    const auto* name = reinterpret_cast<const sockaddr*>(&endpoint);
    EXPECT_EQ(::bind(bound.Get(), name, sizeof endpoint), 0);
    return bound;
}

class LanAccess : public NamespaceTest {
protected:
    static Texts AddressesIn(const NetworkNamespace& where) {
        Texts addresses;
        where.Do([&] { addresses = BroadcastAddresses(); });
        return addresses;
    }

    // The system tells of a link that has come or gone with a delay of up to a second.
    static Texts AddressesOnce(const Texts& expected, const NetworkNamespace& where) {
        const auto end = std::chrono::steady_clock::now() + 10s;
        Texts addresses = AddressesIn(where);
        while (addresses != expected && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(20ms);
            addresses = AddressesIn(where);
        }
        return addresses;
    }

    static void ExpectAddresses(const NetworkNamespace& where, const Texts& expected) {
        EXPECT_EQ(AddressesOnce(expected, where), expected);
    }
};

} // namespace

TEST_F(LanAccess, TheLoopbackInterfaceIsNoLan) {
    EXPECT_EQ(AddressesIn(NetworkNamespace()), Texts{});
}

TEST_F(LanAccess, EveryLanIsOne) {
    const NetworkNamespace here;
    Lan first;
    Lan second;
    first.Attach(here, "eth0", "10.77.0.1");
    second.Attach(here, "eth1", "10.78.0.1");
    here.Ip("address add 2001:db8::1/64 dev eth1");
    ExpectAddresses(here, {"10.77.0.1", "10.78.0.1"});
}

TEST_F(LanAccess, AnInterfaceThatIsDownIsNone) {
    const NetworkNamespace here;
    Lan lan;
    lan.Attach(here, "eth0", "10.77.0.1");
    here.Ip("link set eth0 down");
    ExpectAddresses(here, {});
}

TEST_F(LanAccess, AnInterfaceWithoutACableIsNone) {
    const NetworkNamespace here;
    const NetworkNamespace there;
    here.WireTo(there, "10.77.0.1", "10.77.0.2");
    ExpectAddresses(here, {"10.77.0.1"});
    there.Ip("link set wire down");
    ExpectAddresses(here, {});
}

TEST_F(LanAccess, PortsOfAnotherProgramAreTaken) {
    const NetworkNamespace here;
    Lan first;
    Lan second;
    first.Attach(here, "eth0", "10.77.0.1");
    second.Attach(here, "eth1", "10.78.0.1");
    here.Do([] {
        const Texts addresses{"10.77.0.1", "10.78.0.1"};
        EXPECT_EQ(TakenSearchPorts(addresses), Texts{});
        const Descriptor one = BoundTo("10.77.0.1", SocketSearchPort);
        EXPECT_EQ(TakenSearchPorts(addresses), Texts{"8890 of 10.77.0.1"});
        const Descriptor all = BoundTo("0.0.0.0", Vxi11SearchPort);
        EXPECT_EQ(TakenSearchPorts(addresses),
                  (Texts{"8890 of 10.77.0.1", "9757 of 10.77.0.1", "9757 of 10.78.0.1"}));
    });
}

TEST_F(LanAccess, AnAddressThatIsNotThereHasNoTakenPorts) {
    const NetworkNamespace here;
    here.Do([] { EXPECT_EQ(TakenSearchPorts({"10.99.0.1", "nonsense"}), Texts{}); });
}
