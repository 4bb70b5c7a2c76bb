#include "tools/uxvisa/PacketFields.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "support/SmallProtocol.h"
#include "tools/uxvisa/HexInput.h"

using namespace uxvisa::tool;

namespace {

// From memory that ends where the packet does. Gives the fields as "Name=meaning;".
std::string Fields(const std::string& packet) {
    const auto exact = std::make_unique<char[]>(packet.size());
    packet.copy(exact.get(), packet.size());
    const std::string_view view(exact.get(), packet.size());
    const auto functions = uxvisa::test::SmallProtocol();
    const uxvisa::brix::ProtocolNames names(functions, 0);
    std::string text;
    std::size_t at = 0;
    for (const PacketField& field : FieldsOf(view, names)) {
        EXPECT_EQ(field.offset, at);
        EXPECT_EQ(field.bytes, packet.substr(at, field.bytes.size()));
        EXPECT_FALSE(field.bytes.empty());
        at += field.bytes.size();
        text += field.name + '=' + field.meaning + ';';
    }
    EXPECT_EQ(at, packet.size());
    (void)FaultOf(view);
    (void)LineOf(view, names);
    return text;
}

std::string Body(const std::string& hex) {
    const std::string fields = Fields(ParseHex(hex));
    const std::size_t unused = fields.find("Unused=;");
    return unused == std::string::npos ? fields : fields.substr(unused + 8);
}

} // namespace

TEST(PacketFields, NamesParametersAndValues) {
    EXPECT_EQ(Body("AA550400000006000142000000000000 0101 00800100"),
              "Parameter=257 FREQ;Value 1=1.5;");
    EXPECT_EQ(Body("AA550300000006000142000000000000 0101 FFFFFFFF"),
              "Parameter=257 FREQ;Value 1=-1.52587890625e-05;");
}

TEST(PacketFields, TellsPaddingFromOtherRests) {
    EXPECT_EQ(Body("AA550300000005000120000000000000 0201 050000"),
              "Parameter=258 BYTE;Value 1=5;Rest=fills up to an even length;");
    EXPECT_EQ(Body("AA550300000005000120000000000000 0201 050007"),
              "Parameter=258 BYTE;Value 1=5;Rest=no value;");
    EXPECT_EQ(Body("AA550300000004000100000000000000 0401 0506"),
              "Parameter=260 RAW;Rest=no value;");
}

TEST(PacketFields, ShowsTextBehindTheValuesThatAreCounted) {
    EXPECT_EQ(Body("AA550400000005000110000000000000 0A00 074142"),
              "Parameter=10 TEXT;Value 1=7;Text=\"AB\";");
}

TEST(PacketFields, KnowsBlocksAndIdentifiers) {
    EXPECT_EQ(Body("AA550600000003000000000000000000 010580"),
              "Data=1 byte;BodyStatus=0x8005 TOO_SHORT: the body is too short;");
    EXPECT_EQ(Body("AA550100000008000000000000000000 0700000000000000"),
              "Body=as an identifier (ID): 7;");
    EXPECT_EQ(Body("AA550100000002000000000000000000 0700"), "Body=;");
}

TEST(PacketFields, SaysWhatIsCutShortOrTooMuch) {
    EXPECT_EQ(Body("AA550400000006000142000000000000 0101 0080"),
              "Parameter=257 FREQ;Value 1=cut short;");
    EXPECT_EQ(Body("AA550100000000000000000000000000 0102"), "Behind=not of this packet;");
    EXPECT_EQ(Fields("\xAA"), "Signature=cut short;");
}

TEST(PacketFields, CoverEveryByteOfWhateverComes) {
    std::mt19937 random(20);
    for (int i = 0; i < 20000; ++i) {
        std::string packet(random() % 64 + 1, '\0');
        for (char& byte : packet) {
            byte = static_cast<char>(random());
        }
        if (packet.size() > 7 && i % 2 == 0) {
            packet[2] = static_cast<char>(random() % 8);
            packet[3] = '\0';
            packet[7] = '\0';
        }
        Fields(packet);
    }
}
