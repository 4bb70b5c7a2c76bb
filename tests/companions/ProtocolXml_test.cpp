#include "companions/protodesc/ProtocolXml.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

using namespace protodesc;

namespace {

using Kind = Fault::Kind;

// On a heap copy of the exact size, so that a byte too far is found out.
std::variant<ProtocolDescription, Fault> Parse(const std::string& text) {
    const std::vector<char> exact(text.begin(), text.end());
    return ParseProtocol(exact.data(), exact.size());
}

ProtocolDescription Described(const std::string& text) {
    auto result = Parse(text);
    if (const auto* fault = std::get_if<Fault>(&result)) {
        ADD_FAILURE() << "line " << fault->line << ": " << fault->message;
        return {};
    }
    return std::get<ProtocolDescription>(std::move(result));
}

// With the line, as in a file after "Protocol.xml:".
std::string FaultOf(const std::string& text, Kind kind) {
    auto result = Parse(text);
    const auto* fault = std::get_if<Fault>(&result);
    if (fault == nullptr) {
        return "no fault";
    }
    EXPECT_EQ(fault->kind, kind) << fault->message;
    return std::to_string(fault->line) + ": " + fault->message;
}

std::string AgainstSchema(const std::string& text) {
    return FaultOf(text, Kind::AgainstSchema);
}

std::string NotWellFormed(const std::string& text) {
    return FaultOf(text, Kind::NotWellFormed);
}

std::string Protocol(const std::string& entries) {
    return "<protocol version=\"1\">" + entries + "</protocol>";
}

std::string CommandWithId(const std::string& id) {
    return Protocol("<command id=\"" + id + "\" name=\"A\"/>");
}

std::string ParameterWith(const std::string& attributes) {
    return Protocol("<parameter id=\"1\" name=\"A\" " + attributes + "/>");
}

std::string ErrorWithCode(const std::string& code) {
    return Protocol("<error code=\"" + code + "\" name=\"A\"/>");
}

std::string Utf16(const std::string& text, bool bigEndian) {
    std::string bytes = bigEndian ? std::string("\xFE\xFF") : std::string("\xFF\xFE");
    for (const char c : text) {
        bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    }
    return bytes;
}

} // namespace

TEST(ProtocolXml, ReadsEveryKindOfEntry) {
    const ProtocolDescription description = Described(R"(<?xml version="1.0"?>
<!-- comment -->
<protocol version="1">
  <command id="16" name="RESET"/>
  <parameter id="0x000a" name="Freq_2" size="4" fract="2"/>
  <error code="0x8005" name="SHORT" text="too short"/>
</protocol>
)");
    ASSERT_EQ(description.commands.Entries().size(), 1U);
    EXPECT_EQ(description.commands.Entries()[0].id, 16);
    EXPECT_EQ(description.commands.Entries()[0].name, "RESET");
    ASSERT_EQ(description.parameters.Entries().size(), 1U);
    EXPECT_EQ(description.parameters.Entries()[0].id, 10);
    EXPECT_EQ(description.parameters.Entries()[0].name, "Freq_2");
    EXPECT_EQ(description.parameters.Entries()[0].size, 4);
    EXPECT_EQ(description.parameters.Entries()[0].fract, 2);
    ASSERT_EQ(description.errors.Entries().size(), 1U);
    EXPECT_EQ(description.errors.Entries()[0].code, 0x8005);
    EXPECT_EQ(description.errors.Entries()[0].name, "SHORT");
    EXPECT_EQ(description.errors.Entries()[0].label, "SHORT=too short");
}

TEST(ProtocolXml, MayDescribeNothing) {
    for (const char* text : {"<protocol version='1'/>", "<protocol version=\"0x1\"></protocol>",
                             "<protocol version='1'> \t\r\n <!-- - --> <?pi?> <![CDATA[ ]]>"
                             "</protocol><!-- behind -->\n"}) {
        const ProtocolDescription description = Described(text);
        EXPECT_TRUE(description.commands.Entries().empty());
        EXPECT_TRUE(description.parameters.Entries().empty());
        EXPECT_TRUE(description.errors.Entries().empty());
    }
}

TEST(ProtocolXml, FractAndTextMayBeLeftOut) {
    EXPECT_EQ(Described(ParameterWith("size='3'")).parameters.Find(1)->fract, 0);
    EXPECT_EQ(Described(ErrorWithCode("1")).errors.Find(1)->label, "A");
    EXPECT_EQ(Described(Protocol("<error code='1' name='A' text=''/>")).errors.Find(1)->label, "A");
}

TEST(ProtocolXml, KeepsEveryCharacterOfATextAsUtf8) {
    const auto label = [](const std::string& text) {
        return Described(Protocol("<error code='1' name='E' text=\"" + text + "\"/>"))
            .FindError(1)
            ->label;
    };
    EXPECT_EQ(label("a=b=c"), "E=a=b=c");
    EXPECT_EQ(label("&lt;&gt;&amp;&quot;&apos;&#65;&#x10FFFF;"), "E=<>&\"'A\xF4\x8F\xBF\xBF");
    EXPECT_EQ(label("\xC3\xA4&#xE4;"), "E=\xC3\xA4\xC3\xA4");
    EXPECT_EQ(label(" a\n\tb "), "E= a  b "); // as attributes are
    EXPECT_EQ(label(std::string(100000, 'x')), "E=" + std::string(100000, 'x'));
}

TEST(ProtocolXml, EntriesNeedNotBeEmptyTags) {
    EXPECT_EQ(Described(Protocol("<command id='1' name='A'> \n<!-- --></command>"))
                  .commands.Entries()
                  .size(),
              1U);
}

TEST(ProtocolXml, TakesTheEncodingsThatEveryXmlReaderKnows) {
    const std::string text = Protocol("<command id='1' name='A'/>");
    for (const std::string& encoded :
         {"\xEF\xBB\xBF" + text, Utf16(text, false), Utf16(text, true),
          "<?xml version='1.0' encoding='UTF-8'?>" + text,
          "<?xml version='1.0' encoding='US-ASCII'?>" + text,
          Utf16("<?xml version='1.0' encoding='UTF-16'?>" + text, true)}) {
        EXPECT_EQ(Described(encoded).commands.Entries().size(), 1U) << encoded;
    }
    const ProtocolDescription latin = Described("<?xml version='1.0' encoding='ISO-8859-1'?>" +
                                                Protocol("<error code='1' name='A' text='\xE4'/>"));
    EXPECT_EQ(latin.FindError(1)->label, "A=\xC3\xA4");
}

TEST(ProtocolXml, OtherEncodingsAreNotWellFormed) {
    const std::string text = Protocol("");
    EXPECT_EQ(NotWellFormed("<?xml version='1.0' encoding='windows-1252'?>" + text),
              "1: unknown encoding");
    EXPECT_EQ(NotWellFormed("<?xml version='1.0' encoding='nonsense'?>" + text),
              "1: unknown encoding");
    EXPECT_NE(NotWellFormed("<?xml version='1.0' encoding='UTF-16'?>" + text), "no fault");
    // One mark too much, and a mark without a text.
    EXPECT_NE(NotWellFormed("\xEF\xBB\xBF\xEF\xBB\xBF" + text), "no fault");
    EXPECT_EQ(NotWellFormed("\xEF\xBB\xBF"), "1: no element found");
    EXPECT_NE(NotWellFormed("\xFF\xFE"), "no fault");
    EXPECT_NE(NotWellFormed(Utf16(text, false).substr(0, 21)), "no fault");
    // UTF-32
    EXPECT_NE(NotWellFormed(std::string("\0\0\xFE\xFF\0\0\0<", 8)), "no fault");
}

TEST(ProtocolXml, BrokenBytesAreNotWellFormed) {
    const auto text = [](const std::string& bytes) {
        return Protocol("\n<error code='1' name='A' text='" + bytes + "'/>");
    };
    for (const std::string& bytes :
         {std::string("\xE4"), std::string("\xC3"), std::string("\xC0\x80"),
          std::string("\xED\xA0\x80"), std::string("\xF4\x90\x80\x80"), std::string("\xFF"),
          std::string(1, '\0'), std::string("\x01"), std::string("&#0;"), std::string("&#1;"),
          std::string("&#xD800;"), std::string("&#x110000;"), std::string("&"), std::string("<"),
          std::string("&nothing;"), std::string("&#99999999999999999999;")}) {
        EXPECT_EQ(NotWellFormed(text(bytes)).substr(0, 3), "2: ") << bytes;
    }
}

TEST(ProtocolXml, NothingIsNotWellFormed) {
    EXPECT_EQ(NotWellFormed(""), "1: no element found");
    EXPECT_EQ(NotWellFormed(" \n\n"), "3: no element found");
    EXPECT_EQ(NotWellFormed("<!-- only this -->"), "1: no element found");
    const auto result = ParseProtocol(nullptr, 0);
    EXPECT_EQ(std::get<Fault>(result).kind, Kind::NotWellFormed);
}

TEST(ProtocolXml, NulIsNotWellFormedAnywhere) {
    const std::string text = CommandWithId("1");
    for (std::size_t at = 0; at <= text.size(); ++at) {
        std::string broken = text;
        broken.insert(at, 1, '\0');
        EXPECT_NE(NotWellFormed(broken), "no fault") << at;
    }
}

TEST(ProtocolXml, EveryCutIsNotWellFormed) {
    const std::string text = "<?xml version='1.0'?>" + CommandWithId("1");
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_NE(NotWellFormed(text.substr(0, size)), "no fault") << size;
    }
}

TEST(ProtocolXml, BrokenMarkupIsNotWellFormed) {
    EXPECT_EQ(NotWellFormed("<protocol version='1'>\n</protocol2>"), "2: mismatched tag");
    EXPECT_EQ(NotWellFormed(Protocol("") + "\n<protocol version='1'/>"),
              "2: junk after document element");
    EXPECT_EQ(NotWellFormed(Protocol("") + "junk"), "1: junk after document element");
    EXPECT_EQ(NotWellFormed("junk" + Protocol("")), "1: not well-formed (invalid token)");
    EXPECT_EQ(NotWellFormed(Protocol("\n\n<command id='1' id='2' name='A'/>")),
              "3: duplicate attribute");
    EXPECT_NE(NotWellFormed(Protocol("<command id=1 name='A'/>")), "no fault");
    EXPECT_NE(NotWellFormed(Protocol("<command id='1'name='A'/>")), "no fault");
    EXPECT_NE(NotWellFormed(Protocol("<!-- -- -->")), "no fault");
    EXPECT_NE(NotWellFormed(" <?xml version='1.0'?>" + Protocol("")), "no fault");
    EXPECT_NE(NotWellFormed("{\"protocol\": 1}"), "no fault");
}

TEST(ProtocolXml, TheRootIsAProtocol) {
    EXPECT_EQ(AgainstSchema("<brix version='1'/>"), "1: the root is <brix>, not <protocol>");
    EXPECT_EQ(AgainstSchema("\n<Protocol version='1'/>"),
              "2: the root is <Protocol>, not <protocol>");
    EXPECT_EQ(AgainstSchema("<p:protocol version='1'/>"),
              "1: the root is <p:protocol>, not <protocol>");
    EXPECT_EQ(AgainstSchema("<command id='1' name='A'/>"),
              "1: the root is <command>, not <protocol>");
}

TEST(ProtocolXml, TheVersionIs1) {
    EXPECT_EQ(AgainstSchema("<protocol/>"), "1: no attribute 'version' of <protocol>");
    for (const char* version : {"", "2", "0", "1.0", "v1", "-1", "11"}) {
        EXPECT_EQ(AgainstSchema("<protocol version='" + std::string(version) + "'/>"),
                  "1: attribute 'version' of <protocol> is not a number from 1 to 1")
            << version;
    }
}

TEST(ProtocolXml, ElementsAreTheThreeKnownOnesInLowerCase) {
    for (const std::string element : {"Command", "COMMAND", "commands", "protocol", "x:command",
                                      "parametr", "errors", "include"}) {
        EXPECT_EQ(AgainstSchema(Protocol("\n<" + element + " id='1' name='A'/>")),
                  "2: unknown element <" + element + ">");
    }
}

TEST(ProtocolXml, EntriesDoNotNest) {
    EXPECT_EQ(AgainstSchema(Protocol("<command id='1' name='A'>\n<command id='2' name='B'/>"
                                     "</command>")),
              "2: <command> inside another entry");
    EXPECT_EQ(AgainstSchema(Protocol("<parameter id='1' name='A' size='1'>\n<x/></parameter>")),
              "2: <x> inside another entry");
    std::string deep = "<protocol version='1'>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<command id='1' name='A'>";
    }
    EXPECT_EQ(AgainstSchema(deep), "1: <command> inside another entry");
}

TEST(ProtocolXml, ThereIsNoTextBetweenTheElements) {
    EXPECT_EQ(AgainstSchema(Protocol("\nRESET")), "2: text between the elements");
    EXPECT_EQ(AgainstSchema(Protocol("<command id='1' name='A'>1</command>")),
              "1: text between the elements");
    EXPECT_EQ(AgainstSchema(Protocol("&#160;")), "1: text between the elements");
    EXPECT_EQ(AgainstSchema(Protocol("<![CDATA[<command/>]]>")), "1: text between the elements");
}

TEST(ProtocolXml, UnknownAttributesAreRefused) {
    EXPECT_EQ(AgainstSchema("<protocol version='1' name='A'/>"),
              "1: unknown attribute 'name' of <protocol>");
    EXPECT_EQ(AgainstSchema("<protocol version='1' xmlns='urn:a'/>"),
              "1: unknown attribute 'xmlns' of <protocol>");
    EXPECT_EQ(AgainstSchema(Protocol("<command id='1' name='A' size='1'/>")),
              "1: unknown attribute 'size' of <command>");
    EXPECT_EQ(AgainstSchema(ParameterWith("size='1' text='A'")),
              "1: unknown attribute 'text' of <parameter>");
    EXPECT_EQ(AgainstSchema(ParameterWith("size='1' frac='1'")),
              "1: unknown attribute 'frac' of <parameter>");
    EXPECT_EQ(AgainstSchema(Protocol("<error id='1' name='A'/>")),
              "1: unknown attribute 'id' of <error>");
    EXPECT_EQ(AgainstSchema(Protocol("<command ID='1' name='A'/>")),
              "1: unknown attribute 'ID' of <command>");
}

TEST(ProtocolXml, MissingAttributesAreRefused) {
    EXPECT_EQ(AgainstSchema(Protocol("<command name='A'/>")), "1: no attribute 'id' of <command>");
    EXPECT_EQ(AgainstSchema(Protocol("<command id='1'/>")), "1: no attribute 'name' of <command>");
    EXPECT_EQ(AgainstSchema(Protocol("<parameter name='A' size='1'/>")),
              "1: no attribute 'id' of <parameter>");
    EXPECT_EQ(AgainstSchema(Protocol("<parameter id='1' size='1'/>")),
              "1: no attribute 'name' of <parameter>");
    EXPECT_EQ(AgainstSchema(ParameterWith("")), "1: no attribute 'size' of <parameter>");
    EXPECT_EQ(AgainstSchema(Protocol("<error name='A'/>")), "1: no attribute 'code' of <error>");
    EXPECT_EQ(AgainstSchema(Protocol("<error code='1' text='A'/>")),
              "1: no attribute 'name' of <error>");
}

TEST(ProtocolXml, NumbersAreDecimalOr0x) {
    const auto id = [](const std::string& text) {
        const ProtocolDescription description = Described(CommandWithId(text));
        return description.commands.Entries().empty() ? -1 : description.commands.Entries()[0].id;
    };
    EXPECT_EQ(id("0"), 0);
    EXPECT_EQ(id("010"), 10);
    EXPECT_EQ(id("65535"), 65535);
    EXPECT_EQ(id("0x0"), 0);
    EXPECT_EQ(id("0xFfFf"), 65535);
    EXPECT_EQ(id("0x000000000001"), 1);
    EXPECT_EQ(id("00000000000000000001"), 1);
}

TEST(ProtocolXml, BadNumbersAreRefused) {
    for (const char* text : {"",
                             " ",
                             " 1",
                             "1 ",
                             "+1",
                             "-1",
                             "-0",
                             "1.0",
                             "1e3",
                             "0x",
                             "0X10",
                             "x10",
                             "10h",
                             "0xG",
                             "-0x1",
                             "0x-1",
                             "0x 1",
                             "0x0x1",
                             "1,2",
                             "65536",
                             "0x10000",
                             "4294967296",
                             "18446744073709551617",
                             "99999999999999999999999",
                             "one",
                             "\xD9\xA1",
                             "NaN"}) {
        EXPECT_EQ(AgainstSchema(CommandWithId(text)),
                  "1: attribute 'id' of <command> is not a number from 0 to 65535")
            << text;
    }
}

TEST(ProtocolXml, SizesAndFractionsAre0To15) {
    for (const int count : {0, 1, 8, 15}) {
        const std::string text = std::to_string(count);
        const ProtocolDescription description =
            Described(ParameterWith("size='" + text + "' fract='" + text + "'"));
        EXPECT_EQ(description.parameters.Find(1)->size, count);
        EXPECT_EQ(description.parameters.Find(1)->fract, count);
    }
    for (const char* text : {"16", "0x10", "-1", "255", "", "4.5"}) {
        EXPECT_EQ(AgainstSchema(ParameterWith("size='" + std::string(text) + "'")),
                  "1: attribute 'size' of <parameter> is not a number from 0 to 15");
        EXPECT_EQ(AgainstSchema(ParameterWith("size='1' fract='" + std::string(text) + "'")),
                  "1: attribute 'fract' of <parameter> is not a number from 0 to 15");
    }
}

TEST(ProtocolXml, ErrorCodesMayBeWrittenSigned) {
    for (const char* text : {"-32763", "32773", "0x8005"}) {
        EXPECT_EQ(Described(ErrorWithCode(text)).errors.Entries()[0].code, 0x8005) << text;
    }
    EXPECT_EQ(Described(ErrorWithCode("-32768")).errors.Entries()[0].code, 0x8000);
    EXPECT_EQ(Described(ErrorWithCode("-1")).errors.Entries()[0].code, 0xFFFF);
    for (const char* text : {"-32769", "65536", "-", "--1", "-0x1", "+1", "- 1"}) {
        EXPECT_EQ(AgainstSchema(ErrorWithCode(text)),
                  "1: attribute 'code' of <error> is not a number from -32768 to 65535")
            << text;
    }
}

TEST(ProtocolXml, NamesAreLettersDigitsAndUnderscores) {
    for (const std::string name : {"A", "_", "7", "a_B9", "0x10"}) {
        const auto text = Protocol("<command id='1' name='" + name + "'/>");
        EXPECT_EQ(Described(text).commands.Find(1)->name, name);
    }
    const std::string longName(100000, 'N');
    EXPECT_EQ(
        Described(Protocol("<command id='1' name='" + longName + "'/>")).commands.Find(1)->name,
        longName);
    for (const std::string name : {"", " ", "A B", "A-B", " A", "A ", "A=B", "A?", "A.B", "*RST",
                                   "\xC3\x84", "A&#10;", "A&amp;B"}) {
        for (const char* head :
             {"<command id='1'", "<parameter id='1' size='1'", "<error code='1'"}) {
            const std::string fault =
                AgainstSchema(Protocol(std::string(head) + " name='" + name + "'/>"));
            EXPECT_TRUE(fault.ends_with(" is not letters, digits and '_'")) << fault;
        }
    }
}

TEST(ProtocolXml, NumbersAreUniqueAmongTheirKind) {
    EXPECT_EQ(AgainstSchema(Protocol("<command id='16' name='A'/>\n<command id='0x10' name='B'/>")),
              "2: the number of 'B' is taken");
    EXPECT_EQ(AgainstSchema(Protocol("<parameter id='1' name='A' size='1'/>\n"
                                     "<parameter id='1' name='B' size='2'/>")),
              "2: the number of 'B' is taken");
    EXPECT_EQ(AgainstSchema(Protocol("<error code='-1' name='A'/>\n<error code='0xFFFF' "
                                     "name='B'/>")),
              "2: the number of 'B' is taken");
}

TEST(ProtocolXml, NamesAreUniqueAmongTheirKindInAnyCase) {
    EXPECT_EQ(AgainstSchema(Protocol("<command id='1' name='Go'/>\n<command id='2' name='gO'/>")),
              "2: there is another 'gO'");
    EXPECT_EQ(AgainstSchema(Protocol("<parameter id='1' name='A' size='1'/>\n"
                                     "<parameter id='2' name='a' size='1'/>")),
              "2: there is another 'a'");
    EXPECT_EQ(AgainstSchema(Protocol("<error code='1' name='A'/>\n<error code='2' name='A'/>")),
              "2: there is another 'A'");
}

TEST(ProtocolXml, KindsShareNumbersAndNamesFreely) {
    const ProtocolDescription description =
        Described(Protocol("<command id='1' name='A'/><error code='1' name='A'/>"
                           "<parameter id='1' name='A' size='1'/>"));
    EXPECT_NE(description.commands.Find("A"), nullptr);
    EXPECT_NE(description.parameters.Find("A"), nullptr);
    EXPECT_NE(description.errors.Find("A"), nullptr);
}

TEST(ProtocolXml, DocumentTypesAreRefused) {
    for (const std::string type :
         {"<!DOCTYPE protocol>", "<!DOCTYPE protocol SYSTEM 'protocol.dtd'>",
          "<!DOCTYPE protocol PUBLIC 'a' 'http://192.0.2.1/'>",
          "<!DOCTYPE protocol [<!ELEMENT protocol ANY>]>",
          "<!DOCTYPE protocol [<!ATTLIST protocol version CDATA '1'>]>"}) {
        EXPECT_EQ(AgainstSchema("<?xml version='1.0'?>\n" + type + Protocol("")),
                  "2: a document type is not allowed")
            << type;
    }
}

TEST(ProtocolXml, EntitiesAreNotExpanded) {
    std::string laughs = "<!DOCTYPE protocol [<!ENTITY a0 'ha'>";
    for (int i = 1; i < 30; ++i) {
        const std::string last = "&a" + std::to_string(i - 1) + ";";
        laughs += "<!ENTITY a" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k) {
            laughs += last;
        }
        laughs += "'>";
    }
    laughs += "]>";
    const std::string entry = Protocol("<error code='1' name='A' text='&a29;'/>");
    EXPECT_EQ(AgainstSchema(laughs + entry), "1: a document type is not allowed");
    EXPECT_EQ(AgainstSchema("<!DOCTYPE protocol [<!ENTITY f SYSTEM 'file:///etc/passwd'>]>" +
                            Protocol("&f;")),
              "1: a document type is not allowed");
    EXPECT_EQ(
        AgainstSchema("<!DOCTYPE protocol [<!ENTITY % p SYSTEM '/dev/zero'> %p;]>" + Protocol("")),
        "1: a document type is not allowed");
    EXPECT_EQ(NotWellFormed(entry), "1: undefined entity");
}

TEST(ProtocolXml, TheFirstFaultCounts) {
    EXPECT_EQ(AgainstSchema("<protocol version='1'>\n<x/>\n<y/>\n</z>"), "2: unknown element <x>");
    EXPECT_EQ(NotWellFormed("<protocol version='1'>\n</z>\n<x/>"), "2: mismatched tag");
    EXPECT_EQ(AgainstSchema("<x>\n<y/>text<!-- "), "1: the root is <x>, not <protocol>");
}

TEST(ProtocolXml, LinesEndAsTheyDoAnywhere) {
    EXPECT_EQ(AgainstSchema("<protocol version='1'>\r\n\r\n<x/>"), "3: unknown element <x>");
    EXPECT_EQ(AgainstSchema("<protocol version='1'>\r\r<x/>"), "3: unknown element <x>");
    // A fault inside an entry of several lines is where the entry begins.
    EXPECT_EQ(AgainstSchema(Protocol("\n<command\n\n\nid='x'\nname='A'/>")),
              "2: attribute 'id' of <command> is not a number from 0 to 65535");
}

TEST(ProtocolXml, HoldsAllNumbersThereAre) {
    std::string text = "<protocol version='1'>\n";
    for (int id = 0xFFFF; id >= 0; --id) {
        const std::string number = std::to_string(id);
        text += "<command id='" + number + "' name='COMMAND_" + number + "'/>\n<parameter id='" +
                number + "' name='PARAMETER_" + number + "' size='4'/>\n<error code='" + number +
                "' name='ERROR_" + number + "' text='a text of some length'/>\n";
    }
    ASSERT_GT(text.size(), 10U << 20U);
    ASSERT_LT(text.size(), MaxDocumentSize);
    const ProtocolDescription description = Described(text + "</protocol>");
    EXPECT_EQ(description.commands.Entries().size(), 65536U);
    EXPECT_EQ(description.parameters.Find("parameter_40000")->id, 40000);
    EXPECT_EQ(description.FindError(-1)->label, "ERROR_65535=a text of some length");
    EXPECT_EQ(AgainstSchema(text + "<command id='7' name='ONE_MORE'/>"),
              "196610: the number of 'ONE_MORE' is taken");
}

TEST(ProtocolXml, LargeUselessDocumentsEnd) {
    const std::size_t size = 10U << 20U;
    EXPECT_EQ(NotWellFormed(std::string(size, ' ')), "1: no element found");
    EXPECT_EQ(NotWellFormed(std::string(size, '<')), "1: not well-formed (invalid token)");
    EXPECT_EQ(NotWellFormed("<!--" + std::string(size, ' ')), "1: unclosed token");
    EXPECT_EQ(Described(Protocol("<!--" + std::string(size, ' ') +
                                 "-->"
                                 "<command id='1' name='A'/>"))
                  .commands.Entries()
                  .size(),
              1U);
    std::string attributes = "<protocol";
    for (int i = 0; i < 300000; ++i) {
        attributes += " a" + std::to_string(i) + "='1'";
    }
    EXPECT_EQ(AgainstSchema(attributes + "/>"), "1: unknown attribute 'a0' of <protocol>");
}

TEST(ProtocolXml, DocumentsBeyondTheLimitAreRefused) {
    const std::string text = Protocol("");
    const std::string full = text + std::string(MaxDocumentSize - text.size(), '\n');
    EXPECT_TRUE(
        std::holds_alternative<ProtocolDescription>(ParseProtocol(full.data(), full.size())));
    const std::string more = full + "\n";
    const auto result = ParseProtocol(more.data(), more.size());
    EXPECT_EQ(std::get<Fault>(result).kind, Kind::AgainstSchema);
    EXPECT_EQ(std::get<Fault>(result).message, "the document is larger than 32 MiB");
}
