#include <gtest/gtest.h>

#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/ToolRun.h"

TEST(Failures, RefusedPort) {
    const std::string resource = RefusedResource();
    const std::string port = resource.substr(18, resource.find("::SOCKET") - 18);
    for (const auto* command : {"query", "write"}) {
        const ToolResult result = RunTool({command, resource, "*IDN?"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error,
                  "uxvisa: " + resource +
                      ": Insufficient location information or the device or resource is not "
                      "present in the system (VI_ERROR_RSRC_NFOUND, 0xBFFF0011)\n"
                      "hint: is the instrument on, and is " +
                      port + " the port of its command socket? Try: ping 127.0.0.1\n");
    }
    EXPECT_EQ(RunTool({"read", resource}).exitCode, 1);
}

TEST(Failures, InvalidResourceName) {
    const ToolResult result = RunTool({"query", "scope", "*IDN?"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "uxvisa: scope: Invalid resource reference specified. Parsing error "
                            "(VI_ERROR_INV_RSRC_NAME, 0xBFFF0012)\n"
                            "hint: a resource looks like TCPIP::HOST::PORT::SOCKET, as "
                            "TCPIP::192.168.1.20::5025::SOCKET\n");
}

TEST(Failures, ConnectionThatIsResetBeforeTheAnswer) {
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadLine();
        connection.Reset();
    });
    const ToolResult result = RunTool({"query", peer.Resource(), "*IDN?", "--timeout", "20000"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "uxvisa: " + peer.Resource() +
                  ": The connection for the given session has been lost (VI_ERROR_CONN_LOST, "
                  "0xBFFF00A6)\n"
                  "hint: the instrument or the network broke the connection: is another program "
                  "using it? Try again\n");
}

TEST(Failures, ConnectionThatIsResetWithinABlock) {
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadLine();
        connection.Send("#210abc");
        // The reset would overtake what is not yet read.
        std::this_thread::sleep_for(std::chrono::milliseconds(1000));
        connection.Reset();
    });
    const ToolResult result =
        RunTool({"query", peer.Resource(), "CURV?", "--block", "--timeout", "20000"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "abc");
    EXPECT_EQ(result.error.substr(0, result.error.find('\n')),
              "uxvisa: " + peer.Resource() +
                  ": The connection for the given session has been lost, 3 of 10 bytes arrived "
                  "(VI_ERROR_CONN_LOST, 0xBFFF00A6)");
}

TEST(Failures, InstrumentThatHangsUpIsATimeOut) {
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadLine();
        connection.HangUp();
    });
    const ToolResult result = RunTool({"query", peer.Resource(), "*IDN?", "--timeout", "300"});
    EXPECT_EQ(result.exitCode, 3);
}
