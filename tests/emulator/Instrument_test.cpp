#include "tools/emulator/Instrument.h"

#include "emulator/Ask.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using emulator::ErrorCode;
using emulator::Instrument;
using emulator::InstrumentSettings;

namespace {

std::string NextError(Instrument& instrument) {
    return Ask(instrument, "SYST:ERR?");
}

class InstrumentTest : public testing::Test {
protected:
    std::string Ask(std::string_view message) { return ::Ask(m_instrument, message); }

    void ExpectError(std::string_view message, std::string_view error) {
        EXPECT_EQ(Ask(message), "") << message;
        EXPECT_EQ(NextError(m_instrument), std::string(error) + "\n") << message;
        EXPECT_EQ(NextError(m_instrument), "0,\"No error\"\n") << message;
    }

    Instrument m_instrument;
};

} // namespace

TEST_F(InstrumentTest, IdentifiesItself) {
    EXPECT_EQ(Ask("*IDN?"), "Orvane,Emulator,0," UXVISA_VERSION "\n");
    EXPECT_EQ(Ask("*idn?"), "Orvane,Emulator,0," UXVISA_VERSION "\n");
}

TEST_F(InstrumentTest, StartsWithoutErrorsAndEvents) {
    EXPECT_EQ(Ask("*ESR?;*STB?;*ESE?;*SRE?;SYST:ERR:COUN?"), "0;0;0;0;0\n");
}

TEST_F(InstrumentTest, AnswersTheFixedQueries) {
    EXPECT_EQ(Ask("*OPC?"), "1\n");
    EXPECT_EQ(Ask("*TST?"), "0\n");
    EXPECT_EQ(Ask("SYSTem:VERSion?"), "1999.0\n");
    EXPECT_EQ(Ask("*WAI"), "");
    EXPECT_EQ(NextError(m_instrument), "0,\"No error\"\n");
}

TEST_F(InstrumentTest, OperationCompleteSetsItsEvent) {
    EXPECT_EQ(Ask("*OPC"), "");
    EXPECT_EQ(Ask("*ESR?"), "1\n");
    EXPECT_EQ(Ask("*ESR?"), "0\n");
}

TEST_F(InstrumentTest, EveryErrorClassSetsItsEvent) {
    Ask("NONSENSE");
    EXPECT_EQ(Ask("*ESR?"), "32\n");
    Ask("*ESE 256");
    EXPECT_EQ(Ask("*ESR?"), "16\n");
    m_instrument.Report(ErrorCode::InputBufferOverrun);
    EXPECT_EQ(Ask("*ESR?"), "8\n");
    m_instrument.Report(ErrorCode::QueryInterrupted);
    EXPECT_EQ(Ask("*ESR?"), "4\n");
}

TEST_F(InstrumentTest, EventsAddUpUntilTheyAreRead) {
    Ask("*OPC;NONSENSE;*ESE 256");
    EXPECT_EQ(Ask("*ESR?;*ESR?"), "49;0\n");
}

TEST_F(InstrumentTest, StatusByteTellsOfWaitingErrors) {
    Ask("NONSENSE");
    EXPECT_EQ(Ask("*STB?"), "4\n");
    EXPECT_EQ(m_instrument.StatusByte(), 4);
    NextError(m_instrument);
    EXPECT_EQ(Ask("*STB?"), "0\n");
}

TEST_F(InstrumentTest, StatusByteSumsUpEnabledEvents) {
    Ask("*ESE 1;*OPC");
    EXPECT_EQ(Ask("*ESE?;*STB?"), "1;32\n");
    EXPECT_EQ(Ask("*ESE 32;*STB?"), "0\n");
    EXPECT_EQ(Ask("*ESE 255;*STB?"), "32\n");
    EXPECT_EQ(Ask("*ESR?;*STB?"), "1;0\n");
}

TEST_F(InstrumentTest, StatusByteSumsUpEnabledStatus) {
    Ask("*SRE 32;*ESE 1;*OPC");
    EXPECT_EQ(Ask("*SRE?;*STB?"), "32;96\n");
    EXPECT_EQ(Ask("*SRE 4;*STB?"), "32\n");
}

TEST_F(InstrumentTest, MasterSummaryCannotEnableItself) {
    Ask("*SRE 255");
    EXPECT_EQ(Ask("*SRE?"), "191\n");
}

TEST_F(InstrumentTest, ClearStatusForgetsErrorsAndEvents) {
    Ask("*ESE 60;*SRE 4;NONSENSE;*CLS");
    EXPECT_EQ(Ask("*ESR?;*STB?;SYST:ERR:COUN?"), "0;0;0\n");
    EXPECT_EQ(Ask("*ESE?;*SRE?"), "60;4\n");
}

TEST_F(InstrumentTest, ResetRestoresSettingsOnly) {
    const std::string configuration = Ask("CONF?");
    Ask("TRAC:POIN 5;:CURV:LENG 5;:SOUR:FREQ 5;:CONF:VOLT 100;:INIT;*ESE 4;NONSENSE;*RST");
    EXPECT_EQ(Ask("TRAC:POIN?;:CURV:LENG?;:SOUR:FREQ?;*ESE?"),
              "100;1000;+1.00000000000000E+03;4\n");
    EXPECT_EQ(Ask("CONF?"), configuration);
    EXPECT_EQ(NextError(m_instrument), "-113,\"Undefined header\"\n");
    ExpectError("FETC?", "-230,\"Data corrupt or stale\"");
}

TEST_F(InstrumentTest, ErrorsAreReadOldestFirst) {
    Ask("NONSENSE;*ESE;*ESE 256");
    EXPECT_EQ(Ask("SYSTem:ERRor:COUNt?"), "3\n");
    EXPECT_EQ(Ask("SYSTem:ERRor:NEXT?"), "-113,\"Undefined header\"\n");
    EXPECT_EQ(Ask("syst:err?"), "-109,\"Missing parameter\"\n");
    EXPECT_EQ(Ask(":SYST:ERR?"), "-222,\"Data out of range\"\n");
    EXPECT_EQ(Ask("SYST:ERR?"), "0,\"No error\"\n");
}

TEST_F(InstrumentTest, FullErrorQueueEndsWithOverflow) {
    for (int i = 0; i < 30; ++i) {
        Ask("NONSENSE");
    }
    EXPECT_EQ(Ask("SYST:ERR:COUN?"), "20\n");
    for (int i = 0; i < 19; ++i) {
        EXPECT_EQ(NextError(m_instrument), "-113,\"Undefined header\"\n");
    }
    EXPECT_EQ(NextError(m_instrument), "-350,\"Queue overflow\"\n");
    EXPECT_EQ(NextError(m_instrument), "0,\"No error\"\n");
}

TEST_F(InstrumentTest, CommandAndQueryAreDifferentHeaders) {
    ExpectError("*IDN", "-113,\"Undefined header\"");
    ExpectError("*RST?", "-113,\"Undefined header\"");
    ExpectError("CURV", "-113,\"Undefined header\"");
    ExpectError("MEAS:VOLT", "-113,\"Undefined header\"");
    ExpectError("MEAS?", "-113,\"Undefined header\"");
}

TEST_F(InstrumentTest, ParametersAreCounted) {
    ExpectError("*RST 1", "-108,\"Parameter not allowed\"");
    ExpectError("*IDN? 1", "-108,\"Parameter not allowed\"");
    ExpectError("TRAC:POIN 1,2", "-108,\"Parameter not allowed\"");
    ExpectError("CONF:VOLT 1,0.0001,3", "-108,\"Parameter not allowed\"");
    for (const char* message : {"*ESE", "*SRE", "TRAC:POIN", "CURV:LENG", "SOUR:FREQ"}) {
        ExpectError(message, "-109,\"Missing parameter\"");
    }
}

TEST_F(InstrumentTest, ParametersAreChecked) {
    for (const char* header : {"*ESE ", "*SRE ", "TRAC:POIN ", "CURV:LENG ", "SOUR:FREQ "}) {
        ExpectError(header + std::string("\"5\""), "-104,\"Data type error\"");
        ExpectError(header + std::string("5..5"), "-104,\"Data type error\"");
        ExpectError(header + std::string("LOTS"), "-224,\"Illegal parameter value\"");
        ExpectError(header + std::string("-1"), "-222,\"Data out of range\"");
        ExpectError(header + std::string("1E300"), "-222,\"Data out of range\"");
        ExpectError(header + std::string("1E999"), "-222,\"Data out of range\"");
    }
    EXPECT_EQ(Ask("*ESE?;*SRE?;:TRAC:POIN?;:CURV:LENG?"), "0;0;100;1000\n");
}

TEST_F(InstrumentTest, MeasuresAboutOneVolt) {
    double sum = 0.0;
    for (int i = 0; i < 100; ++i) {
        const std::string reading = Ask("MEASure:VOLTage:DC?");
        ASSERT_EQ(reading.size(), 16U) << reading;
        ASSERT_EQ(reading.front(), '+');
        ASSERT_NEAR(std::stod(reading), 1.0, 0.0011);
        sum += std::stod(reading);
    }
    EXPECT_NEAR(sum / 100, 1.0, 0.0005);
    EXPECT_NE(Ask("MEAS:VOLT?"), Ask("MEAS:VOLT?"));
}

TEST_F(InstrumentTest, ReadingsFollowFromTheSeed) {
    Instrument same;
    Instrument other(InstrumentSettings{.seed = 2});
    const std::string readings = Ask("MEAS:VOLT?;:READ?");
    EXPECT_EQ(readings, ::Ask(same, "MEAS:VOLT?;:READ?"));
    EXPECT_NE(readings, ::Ask(other, "MEAS:VOLT?;:READ?"));
}

TEST_F(InstrumentTest, FetchRepeatsTheLastReading) {
    ExpectError("FETC?", "-230,\"Data corrupt or stale\"");
    const std::string reading = Ask("READ?");
    EXPECT_EQ(Ask("FETCh?"), reading);
    EXPECT_EQ(Ask("FETC?"), reading);
    EXPECT_NE(Ask("READ?"), reading);
}

TEST_F(InstrumentTest, InitiateTakesAReading) {
    EXPECT_EQ(Ask("INITiate"), "");
    const std::string first = Ask("FETC?");
    EXPECT_NEAR(std::stod(first), 1.0, 0.0011);
    Ask("INIT:IMM");
    EXPECT_NE(Ask("FETC?"), first);
}

TEST_F(InstrumentTest, ConfiguringMakesTheReadingStale) {
    Ask("INIT;CONF:VOLT");
    ExpectError("FETC?", "-230,\"Data corrupt or stale\"");
}

TEST_F(InstrumentTest, ConfigurationCanBeReadBack) {
    EXPECT_EQ(Ask("CONF?"), "\"VOLT +1.00000000E+01,+1.00000000E-05\"\n");
    Ask("CONFigure:VOLTage:DC 100,0.001");
    EXPECT_EQ(Ask("CONFigure?"), "\"VOLT +1.00000000E+02,+1.00000000E-03\"\n");
    Ask("CONF:VOLT 1");
    EXPECT_EQ(Ask("CONF?"), "\"VOLT +1.00000000E+00,+1.00000000E-06\"\n");
    Ask("CONF:VOLT MAX,MIN");
    EXPECT_EQ(Ask("CONF?"), "\"VOLT +1.00000000E+03,+1.00000000E-04\"\n");
    Ask("CONF:VOLT AUTO");
    EXPECT_EQ(Ask("CONF?"), "\"VOLT +1.00000000E+01,+1.00000000E-05\"\n");
    EXPECT_EQ(Ask("MEAS:VOLT? MIN;:CONF?").substr(15),
              ";\"VOLT +1.00000000E-01,+1.00000000E-07\"\n");
}

TEST_F(InstrumentTest, BadConfigurationChangesNothing) {
    Ask("CONF:VOLT 100,0.001;:INIT");
    ExpectError("CONF:VOLT 10000", "-222,\"Data out of range\"");
    ExpectError("CONF:VOLT 10,10", "-222,\"Data out of range\"");
    ExpectError("CONF:VOLT LOTS", "-224,\"Illegal parameter value\"");
    ExpectError("MEAS:VOLT? 10,LOTS", "-224,\"Illegal parameter value\"");
    EXPECT_EQ(Ask("CONF?"), "\"VOLT +1.00000000E+02,+1.00000000E-03\"\n");
    EXPECT_EQ(Ask("FETC?").size(), 16U);
}

TEST_F(InstrumentTest, TraceHasAsManyValuesAsPoints) {
    const std::string usual = Ask("TRACe:DATA?");
    EXPECT_EQ(std::count(usual.begin(), usual.end(), ','), 99);
    Ask("TRACe:POINts 3");
    EXPECT_EQ(Ask("TRAC:POIN?"), "3\n");
    const std::string three = Ask("TRAC:DATA?");
    EXPECT_EQ(std::count(three.begin(), three.end(), ','), 2);
    EXPECT_EQ(three.size(), 3U * 16U);
}

TEST_F(InstrumentTest, TracePointsHaveLimits) {
    EXPECT_EQ(Ask("TRAC:POIN MAX;POIN?"), "1000000\n");
    EXPECT_EQ(Ask("TRAC:POIN MIN;POIN?"), "1\n");
    EXPECT_EQ(Ask("TRAC:POIN DEF;POIN?"), "100\n");
    EXPECT_EQ(Ask("TRAC:POIN 1E6;POIN?"), "1000000\n");
    ExpectError("TRAC:POIN 0", "-222,\"Data out of range\"");
    ExpectError("TRAC:POIN 1000001", "-222,\"Data out of range\"");
    EXPECT_EQ(Ask("TRAC:POIN?"), "1000000\n");
}

TEST_F(InstrumentTest, CountsAreRounded) {
    EXPECT_EQ(Ask("TRAC:POIN 4.6;POIN?"), "5\n");
    EXPECT_EQ(Ask("*ESE 3.2;*ESE?"), "3\n");
}

TEST_F(InstrumentTest, CurveIsADefiniteLengthBlock) {
    const std::string usual = Ask("CURVe?");
    EXPECT_EQ(usual.size(), 6U + 1000U + 1U);
    EXPECT_EQ(usual.substr(0, 6), "#41000");
    EXPECT_EQ(Ask("CURV:LENG 3;:CURV?"), std::string("#13\0\1\2\n", 7));
    EXPECT_EQ(Ask("CURV:LENG 0;:CURV?"), "#10\n");
}

TEST_F(InstrumentTest, CurveLengthHasLimits) {
    EXPECT_EQ(Ask("CURVe:LENGth MAX;LENGth?"), "268435456\n");
    EXPECT_EQ(Ask("CURV:LENG MIN;LENG?"), "0\n");
    EXPECT_EQ(Ask("CURV:LENG DEF;LENG?"), "1000\n");
    ExpectError("CURV:LENG 268435457", "-222,\"Data out of range\"");
}

TEST_F(InstrumentTest, FrequencyIsKeptToFifteenDigits) {
    EXPECT_EQ(Ask("SOURce:FREQuency?"), "+1.00000000000000E+03\n");
    EXPECT_EQ(Ask("SOUR:FREQ 1234567.89012345;FREQ?"), "+1.23456789012345E+06\n");
    EXPECT_EQ(Ask("SOUR:FREQ MAX;FREQ?"), "+1.00000000000000E+10\n");
    EXPECT_EQ(Ask("SOUR:FREQ DEF;FREQ?"), "+1.00000000000000E+03\n");
    ExpectError("SOUR:FREQ 0", "-222,\"Data out of range\"");
}

TEST(Instrument, StartsWithTheGivenSettings) {
    Instrument instrument(InstrumentSettings{.seed = 5, .curve_length = 7, .trace_points = 9});
    EXPECT_EQ(Ask(instrument, "CURV:LENG?;:TRAC:POIN?"), "7;9\n");
    EXPECT_EQ(Ask(instrument, "CURV:LENG 1;:TRAC:POIN 1;*RST;:CURV:LENG?;:TRAC:POIN?"), "7;9\n");
    EXPECT_EQ(Ask(instrument, "CURV:LENG 1;LENG DEF;LENG?"), "7\n");
}

TEST(Instrument, ShortAndLongFormsAreTheSameCommands) {
    Instrument instrument;
    for (const char* header :
         {"MEAS:VOLT", "measure:voltage", "Meas:Voltage:Dc", "MEASURE:VOLT:DC"}) {
        EXPECT_NE(Instrument::Find(header, true), nullptr) << header;
        EXPECT_EQ(Instrument::Find(header, true), Instrument::Find("MEAS:VOLT", true));
    }
    EXPECT_EQ(Instrument::Find("MEASU:VOLT", true), nullptr);
    EXPECT_EQ(Instrument::Find("MEAS:VOLT", false), nullptr);
}

TEST(Instrument, IdentityIsASetting) {
    Instrument instrument(InstrumentSettings{.identity = {"KX10", "SN42"}});
    EXPECT_EQ(Ask(instrument, "*IDN?"), "Orvane,KX10,SN42," UXVISA_VERSION "\n");
    EXPECT_EQ(Ask(instrument, "*RST;*IDN?"), "Orvane,KX10,SN42," UXVISA_VERSION "\n");
}
