#include "transports/SessionUSBTMC.h"

#include <gmock/gmock.h>
#include <libudev.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/ScriptedPeer.h"
#include "support/UsbDescriptorBytes.h"
#include "support/UsbTestbed.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

constexpr const char* ValidResource = "USB0::0x0957::0x1796::MY123::0::INSTR";
constexpr const char* UnreadableDescriptors = "error opening USB device 'descriptors' file\n";
const UsbTexts Identity = {{"idVendor", "1234"},
                           {"idProduct", "5678"},
                           {"serial", "SN01"},
                           {"manufacturer", "Orvane"},
                           {"product", "KX10"}};
constexpr const char* IdentityRecord = "USB0::0x1234::0x5678::SN01::0::INSTR\nOrvane\nKX10\nSN01\n";
constexpr const char* IdentityLine = "IDs:1234\t5678\n";

bool udevIsThere = true;

} // namespace

// Takes the place of libudev's in this program, the library under test included.
extern "C" udev* udev_new() {
    if (!udevIsThere) {
        return nullptr;
    }
    return reinterpret_cast<udev* (*)()>(dlsym(RTLD_NEXT, "udev_new"))();
}

namespace {

struct Search {
    long status = 0;
    std::vector<std::string> records = {};
    std::string out = {};
    std::string err = {};
};

class UsbSearch : public ::testing::Test {
protected:
    Search Find(const char* expression = "") {
        Search found;
        std::string copy = expression == nullptr ? "" : expression;
        CaptureStdout();
        CaptureStderr();
        found.status = session.FindResources(
            expression == nullptr ? nullptr : copy.data(),
            [](ISession*, const char* record, void* records) -> long {
                static_cast<std::vector<std::string>*>(records)->push_back(record);
                return -1; // makes no difference
            },
            &found.records);
        found.err = GetCapturedStderr();
        found.out = GetCapturedStdout();
        return found;
    }

    // Of a device with these descriptors and the usual identity.
    bool IsReported(const std::string& descriptors) {
        const std::string device = testbed.AddInstrument(Identity, descriptors);
        const Search found = Find();
        EXPECT_EQ(found.err, "");
        testbed.Remove(device);
        return !found.records.empty();
    }

    UsbTestbed testbed;
    CSessionUSBTMC session;
};

// What the session reports of a device file that says `content`.
std::string ContentBehind(CSessionUSBTMC& session) {
    return Read(session, 100).data;
}

// Puts something else in place of a descriptor of the program while it lives; -1 closes it.
class Replaced {
public:
    Replaced(int descriptor, int replacement)
        : m_descriptor(descriptor), m_kept(fcntl(descriptor, F_DUPFD_CLOEXEC, 20)) {
        if (replacement == -1) {
            close(descriptor);
        } else {
            dup2(replacement, descriptor);
        }
    }
    ~Replaced() {
        dup2(m_kept, m_descriptor);
        close(m_kept);
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

private:
    int m_descriptor;
    int m_kept;
};

struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        out = Descriptor(ends[0]);
        in = Descriptor(ends[1]);
    }

    std::string Content() const {
        char bytes[4096];
        const ssize_t size = read(out.Get(), bytes, sizeof bytes);
        return {bytes, size > 0 ? static_cast<std::size_t>(size) : 0};
    }

    Descriptor out;
    Descriptor in;
};

} // namespace

TEST_F(UsbSearch, ReportsAnInstrumentWithItsIdentity) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    const Search found = Find();
    EXPECT_EQ(found.status, VI_SUCCESS);
    EXPECT_THAT(found.records, ElementsAre(IdentityRecord));
    EXPECT_EQ(found.out, IdentityLine);
    EXPECT_EQ(found.err, "");
}

TEST_F(UsbSearch, FindsNothingWithoutDevices) {
    const Search found = Find();
    EXPECT_EQ(found.status, VI_SUCCESS);
    EXPECT_THAT(found.records, IsEmpty());
    EXPECT_EQ(found.out + found.err, "");
}

TEST_F(UsbSearch, TheExpressionFiltersNothingOnPurpose) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    for (const char* expression : {"?*", "TCPIP?*", "ASRL?*", "no such thing"}) {
        EXPECT_THAT(Find(expression).records, ElementsAre(IdentityRecord)) << expression;
    }
    EXPECT_THAT(Find(nullptr).records, ElementsAre(IdentityRecord));
}

TEST_F(UsbSearch, ADeviceWithoutTheMessageProtocolIsNotReported) {
    EXPECT_FALSE(IsReported(DescriptorsWith(InterfaceDescriptor(0xFE, 3, 0))));
    EXPECT_FALSE(IsReported(DescriptorsWith(InterfaceDescriptor(0xFE, 2, 1))));
    EXPECT_TRUE(IsReported(DescriptorsWith(InterfaceDescriptor(0xFE, 3, 1))));
}

TEST_F(UsbSearch, TheInterfaceClassIsNotLookedAtOnPurpose) {
    EXPECT_TRUE(IsReported(DescriptorsWith(InterfaceDescriptor(0xFF, 3, 1))));
    EXPECT_TRUE(IsReported(DescriptorsWith(InterfaceDescriptor(0, 3, 1))));
}

TEST_F(UsbSearch, OnlyTheFirstInterfaceDescriptorCountsOnPurpose) {
    const std::string instrument = InterfaceDescriptor(0xFE, 3, 1);
    const std::string other = InterfaceDescriptor(8, 6, 0x50);
    EXPECT_FALSE(IsReported(DescriptorsWith(other + instrument)));
    EXPECT_TRUE(IsReported(DescriptorsWith(instrument + other)));
}

TEST_F(UsbSearch, DescriptorsOfOddSizesAreNoInstruments) {
    EXPECT_FALSE(IsReported(""));
    EXPECT_FALSE(IsReported(DeviceDescriptor().substr(0, 17)));
    EXPECT_FALSE(IsReported(DeviceDescriptor()));
    EXPECT_FALSE(IsReported(InstrumentDescriptors().substr(0, 34)));
    EXPECT_FALSE(IsReported(Bytes({0}) + InstrumentDescriptors().substr(1)));
    EXPECT_FALSE(IsReported(DescriptorsWith(EndpointDescriptor())));
    const auto sized = [](std::size_t size) {
        return InstrumentDescriptors() + std::string(size - InstrumentDescriptors().size(), '\x07');
    };
    EXPECT_TRUE(IsReported(sized(65552)));
    EXPECT_FALSE(IsReported(sized(65553)));
    EXPECT_FALSE(IsReported(sized(70000)));
}

TEST_F(UsbSearch, SaysWhenDescriptorsCannotBeOpened) {
    const std::string device = testbed.AddUsbDevice("1-1", Identity);
    testbed.AddInterface("1-1:1.0", device);
    testbed.AddInterface("1-1:1.1", device);
    const Search found = Find();
    EXPECT_EQ(found.status, VI_SUCCESS);
    EXPECT_THAT(found.records, IsEmpty());
    EXPECT_EQ(found.out, "");
    EXPECT_EQ(found.err, std::string(UnreadableDescriptors) + UnreadableDescriptors);
}

TEST_F(UsbSearch, DescriptorsThatOpenButCannotBeReadAreNoInstrument) {
    const std::string device = testbed.AddUsbDevice("1-1", Identity);
    testbed.AddInterface("1-1:1.0", device);
    std::filesystem::create_directory(testbed.Place(device + "/descriptors"));
    const Search found = Find();
    EXPECT_THAT(found.records, IsEmpty());
    EXPECT_EQ(found.err, "");
}

TEST_F(UsbSearch, DescriptorsThatComeInPiecesAreReadWhole) {
    const std::string device = testbed.AddUsbDevice("1-1", Identity);
    testbed.AddInterface("1-1:1.0", device);
    const std::string fifo = testbed.Place(device + "/descriptors");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // Opened both ways, which waits for nobody: the testbed lets one opening at a time through.
    Descriptor in(open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    const std::string bytes = InstrumentDescriptors();
    ASSERT_EQ(write(in.Get(), bytes.data(), 20), 20);
    std::thread kernel([&] {
        for (int unread = 1; unread != 0 && ioctl(in.Get(), FIONREAD, &unread) == 0;) {
            std::this_thread::sleep_for(1ms);
        }
        const std::size_t rest = bytes.size() - 20;
        EXPECT_EQ(write(in.Get(), bytes.data() + 20, rest), static_cast<ssize_t>(rest));
        in.Close();
    });
    const Search found = Find();
    kernel.join();
    EXPECT_THAT(found.records, ElementsAre(IdentityRecord));
}

TEST_F(UsbSearch, EveryInterfaceGivesARecordOnPurpose) {
    const std::string device = testbed.AddInstrument(Identity, InstrumentDescriptors());
    testbed.AddInterface("1-1:1.1", device);
    testbed.AddInterface("1-1:1.2", device);
    const Search found = Find();
    EXPECT_THAT(found.records, ElementsAre(IdentityRecord, IdentityRecord, IdentityRecord));
    EXPECT_EQ(found.out, std::string(IdentityLine) + IdentityLine + IdentityLine);
}

TEST_F(UsbSearch, ADeviceBehindAnInstrumentReportsTheInstrumentOnPurpose) {
    const std::string device = testbed.AddUsbDevice("1-1", Identity);
    testbed.SetDescriptors(device, InstrumentDescriptors());
    EXPECT_THAT(Find().records, IsEmpty()); // an instrument is not its own ancestor
    const std::string behind = testbed.AddUsbDevice("1-1.1", {{"idVendor", "9999"}}, device);
    EXPECT_THAT(Find().records, ElementsAre(IdentityRecord));
    testbed.SetDescriptors(behind, DeviceDescriptor());
    testbed.AddInterface("1-1.1:1.0", behind);
    EXPECT_THAT(Find().records, ElementsAre(IdentityRecord));
}

TEST_F(UsbSearch, AnInstrumentBehindAHubIsReported) {
    const std::string hub = testbed.AddUsbDevice("usb1", {{"idVendor", "1d6b"}});
    testbed.SetDescriptors(hub, DescriptorsWith(InterfaceDescriptor(9, 0, 0)));
    testbed.AddInterface("1-0:1.0", hub);
    const std::string device = testbed.AddUsbDevice("1-1", Identity, hub);
    testbed.SetDescriptors(device, InstrumentDescriptors());
    testbed.AddInterface("1-1:1.0", device);
    const Search found = Find();
    EXPECT_THAT(found.records, ElementsAre(IdentityRecord));
    EXPECT_EQ(found.err, "");
}

TEST_F(UsbSearch, EntriesOfOtherSubsystemsAreNotLookedAt) {
    const std::string device = testbed.AddUsbDevice("1-1", Identity);
    testbed.SetDescriptors(device, InstrumentDescriptors());
    testbed.AddOther("usbmisc", "usbtmc0", device);
    EXPECT_THAT(Find().records, IsEmpty());
}

TEST_F(UsbSearch, AMissingTextIsAnEmptyField) {
    const std::map<std::string, std::string> expected = {
        {"idVendor", "USB0::0x::0x5678::SN01::0::INSTR\nOrvane\nKX10\nSN01\n"},
        {"idProduct", "USB0::0x1234::0x::SN01::0::INSTR\nOrvane\nKX10\nSN01\n"},
        {"serial", "USB0::0x1234::0x5678::::0::INSTR\nOrvane\nKX10\n\n"},
        {"manufacturer", "USB0::0x1234::0x5678::SN01::0::INSTR\n\nKX10\nSN01\n"},
        {"product", "USB0::0x1234::0x5678::SN01::0::INSTR\nOrvane\n\nSN01\n"}};
    for (const auto& [missing, record] : expected) {
        UsbTexts texts = Identity;
        texts.erase(missing);
        const std::string device = testbed.AddInstrument(texts, InstrumentDescriptors());
        EXPECT_THAT(Find().records, ElementsAre(record)) << missing;
        testbed.Remove(device);
    }
    testbed.AddInstrument({}, InstrumentDescriptors());
    const Search found = Find();
    EXPECT_THAT(found.records, ElementsAre("USB0::0x::0x::::0::INSTR\n\n\n\n"));
    EXPECT_EQ(found.out, "IDs:\t\n");
}

TEST_F(UsbSearch, RecordsMayBeOfAnyLength) {
    const std::string serial(3000, 'S');
    const std::string product(3000, 'P');
    testbed.AddInstrument({{"idVendor", "1234"}, {"serial", serial}, {"product", product}},
                          InstrumentDescriptors());
    EXPECT_THAT(Find().records, ElementsAre("USB0::0x1234::0x::" + serial + "::0::INSTR\n\n" +
                                            product + "\n" + serial + "\n"));
}

TEST_F(UsbSearch, FormatLettersInATextStayAsTheyAre) {
    testbed.AddInstrument({{"idVendor", "%s%n"}, {"idProduct", "%d"}, {"serial", "%s"}},
                          InstrumentDescriptors());
    const Search found = Find();
    EXPECT_THAT(found.records, ElementsAre("USB0::0x%s%n::0x%d::%s::0::INSTR\n\n\n%s\n"));
    EXPECT_EQ(found.out, "IDs:%s%n\t%d\n");
}

TEST_F(UsbSearch, ALineFeedInATextBeginsNoField) {
    UsbTexts texts = Identity;
    texts["manufacturer"] = "Or\nvane";
    testbed.AddInstrument(texts, InstrumentDescriptors());
    EXPECT_THAT(Find().records,
                ElementsAre("USB0::0x1234::0x5678::SN01::0::INSTR\nOr vane\nKX10\nSN01\n"));
}

TEST_F(UsbSearch, TheLineIsOutBeforeTheRecordIsReportedOnPurpose) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    struct Context {
        Pipe pipe = {};
        std::string seen = {};
    } context;
    std::fflush(stdout);
    {
        const Replaced standardOutput(STDOUT_FILENO, context.pipe.in.Get());
        session.FindResources(
            nullptr,
            [](ISession*, const char*, void* seenHere) -> long {
                auto& here = *static_cast<Context*>(seenHere);
                here.seen += here.pipe.Content();
                return 0;
            },
            &context);
    }
    EXPECT_EQ(context.seen, IdentityLine);
}

TEST_F(UsbSearch, TheCallbackGetsTheSession) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    ISession* source = nullptr;
    CaptureStdout();
    session.FindResources(
        nullptr,
        [](ISession* from, const char*, void* context) -> long {
            *static_cast<ISession**>(context) = from;
            return 0;
        },
        &source);
    GetCapturedStdout();
    EXPECT_EQ(source, &session);
}

TEST_F(UsbSearch, ADeviceUnpluggedDuringTheSearchIsLeftOut) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    const std::string second = testbed.AddUsbDevice("1-2", {{"idVendor", "2222"}});
    testbed.SetDescriptors(second, InstrumentDescriptors());
    testbed.AddInterface("1-2:1.0", second);
    ASSERT_EQ(Find().records.size(), 2U);
    struct Context {
        UsbTestbed& testbed;
        const std::string& second;
        int reported;
    } context{testbed, second, 0};
    CaptureStdout();
    EXPECT_EQ(session.FindResources(
                  nullptr,
                  [](ISession*, const char*, void* given) -> long {
                      auto& here = *static_cast<Context*>(given);
                      here.testbed.Remove(here.second);
                      ++here.reported;
                      return 0;
                  },
                  &context),
              VI_SUCCESS);
    EXPECT_EQ(GetCapturedStdout(), IdentityLine);
    EXPECT_EQ(context.reported, 1);
}

TEST_F(UsbSearch, AnExceptionOfTheCallbackBecomesAStatus) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    CaptureStdout();
    EXPECT_EQ(session.FindResources(
                  nullptr,
                  [](ISession*, const char*, void*) -> long {
                      throw std::runtime_error("out of records");
                  },
                  nullptr),
              VI_ERROR_SYSTEM_ERROR);
    GetCapturedStdout();
}

TEST_F(UsbSearch, WithoutUdevTheAnswerIsABareMinusOneOnPurpose) {
    testbed.AddInstrument(Identity, InstrumentDescriptors());
    udevIsThere = false;
    const Search found = Find();
    udevIsThere = true;
    EXPECT_EQ(found.status, -1);
    EXPECT_THAT(found.records, IsEmpty());
    EXPECT_EQ(found.out + found.err, "");
}

TEST_F(UsbSearch, ADeviceIsTestedByTheExportedFunction) {
    const std::string path = testbed.AddInstrument(Identity, InstrumentDescriptors());
    const std::unique_ptr<udev, udev* (*)(udev*)> context(udev_new(), udev_unref);
    const std::unique_ptr<udev_device, udev_device* (*)(udev_device*)> device(
        udev_device_new_from_syspath(context.get(), path.c_str()), udev_device_unref);
    ASSERT_NE(device, nullptr);
    EXPECT_TRUE(dev_if_packed_info(device.get()));
    testbed.SetDescriptors(path, DeviceDescriptor());
    EXPECT_FALSE(dev_if_packed_info(device.get()));
    CaptureStderr();
    EXPECT_FALSE(dev_if_packed_info(nullptr));
    EXPECT_EQ(GetCapturedStderr(), UnreadableDescriptors);
}

namespace {

class UsbOpening : public ::testing::Test {
protected:
    // The descriptors of this program that belong to /dev/usbtmc1.
    std::vector<int> OpenDeviceFiles() const {
        std::vector<int> found;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (std::filesystem::read_symlink(entry, gone) == testbed.Place("/dev/usbtmc1")) {
                found.push_back(std::stoi(entry.path().filename()));
            }
        }
        return found;
    }

    UsbTestbed testbed;
    CSessionUSBTMC session;
};

} // namespace

TEST_F(UsbOpening, MalformedResourcesAreRefused) {
    testbed.AddFile("/dev/usbtmc1", "one");
    for (const char* resource : {
             "",
             "USB0",
             "USB0::0x0957::0x1796::MY123::INSTR",
             "USB0::0x0957::0x1796::MY123::0::0::INSTR",
             "USB0::0x0957::0x1796::MY123::0::INSTR::",
             "USB1::0x0957::0x1796::MY123::0::INSTR",
             "USB00::0x0957::0x1796::MY123::0::INSTR",
             "usb0::0x0957::0x1796::MY123::0::INSTR",
             "::0x0957::0x1796::MY123::0::INSTR",
             "TCPIP::0x0957::0x1796::MY123::0::INSTR",
             "USB0::0957::0x1796::MY123::0::INSTR",
             "USB0::0X0957::0x1796::MY123::0::INSTR",
             "USB0:: 0x0957::0x1796::MY123::0::INSTR",
             "USB0::::0x1796::MY123::0::INSTR",
             "USB0::0x0957::1796::MY123::0::INSTR",
             "USB0::0x0957::0X1796::MY123::0::INSTR",
             "USB0::0x0957::::MY123::0::INSTR",
             "USB0::0x0957::0x1796::MY123::1::INSTR",
             "USB0::0x0957::0x1796::MY123::00::INSTR",
             "USB0::0x0957::0x1796::MY123::::INSTR",
             "USB0::0x0957::0x1796::MY123::0::RAW",
             "USB0::0x0957::0x1796::MY123::0::instr",
             "USB0::0x0957::0x1796::MY123::0::",
         }) {
        EXPECT_EQ(Open(session, resource), VI_ERROR_INV_RSRC_NAME) << resource;
    }
    EXPECT_EQ(session.OpenConnection(nullptr, 0, 0), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(Read(session, 10).status, VI_ERROR_CONN_LOST);
}

TEST_F(UsbOpening, TheIdentityDoesNotSelectTheDeviceOnPurpose) {
    testbed.AddFile("/dev/usbtmc1", "one");
    for (const char* resource : {
             ValidResource,
             "USB::0x0957::0x1796::MY123::0::INSTR",
             "USB0::0x0::0x0::::0::INSTR",
             "USB0::0x::0x::somebody else's::0::INSTR",
             "USB0::0xnonsense::0x123456789012345678901234567890::%s::0::INSTR",
         }) {
        EXPECT_EQ(Open(session, resource), VI_SUCCESS) << resource;
        EXPECT_EQ(ContentBehind(session), "one") << resource;
    }
}

TEST_F(UsbOpening, AccessModeAndTimeOutAreIgnored) {
    testbed.AddFile("/dev/usbtmc1", "one");
    std::string resource = ValidResource;
    EXPECT_EQ(session.OpenConnection(resource.data(), ~0UL, 0), VI_SUCCESS);
}

TEST_F(UsbOpening, WithoutADeviceFileNothingIsFound) {
    EXPECT_EQ(Open(session, ValidResource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(Read(session, 10).status, VI_ERROR_CONN_LOST);
}

TEST_F(UsbOpening, DeviceZeroIsNeverTriedOnPurpose) {
    testbed.AddFile("/dev/usbtmc0", "zero");
    testbed.AddFile("/dev/usbtmc10", "ten");
    EXPECT_EQ(Open(session, ValidResource), VI_ERROR_RSRC_NFOUND);
}

TEST_F(UsbOpening, TheFirstThatOpensServes) {
    // The testbed stands about fifty failed openings in a process, so not every number is tried.
    for (const int number : {9, 5, 1}) {
        const std::string path = "/dev/usbtmc" + std::to_string(number);
        testbed.AddFile(path, path);
        EXPECT_EQ(Open(session, ValidResource), VI_SUCCESS) << number;
        EXPECT_EQ(ContentBehind(session), path);
    }
}

TEST_F(UsbOpening, OneThatDoesNotOpenIsPassedOver) {
    std::filesystem::create_directories(testbed.Place("/dev/usbtmc1"));
    std::filesystem::create_symlink("/nowhere", testbed.Place("/dev/usbtmc2"));
    testbed.AddFile("/dev/usbtmc3", "three");
    EXPECT_EQ(Open(session, ValidResource), VI_SUCCESS);
    EXPECT_EQ(ContentBehind(session), "three");
}

TEST_F(UsbOpening, ANewConnectionReplacesTheOldOne) {
    testbed.AddFile("/dev/usbtmc1", "one");
    ASSERT_EQ(Open(session, ValidResource), VI_SUCCESS);
    ASSERT_EQ(Open(session, ValidResource), VI_SUCCESS);
    EXPECT_EQ(OpenDeviceFiles().size(), 1U);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_THAT(OpenDeviceFiles(), IsEmpty());
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(UsbOpening, TheDescriptorIsClosedOnExecAndByTheDestructor) {
    testbed.AddFile("/dev/usbtmc1", "one");
    {
        CSessionUSBTMC inner;
        ASSERT_EQ(Open(inner, ValidResource), VI_SUCCESS);
        const std::vector<int> opened = OpenDeviceFiles();
        ASSERT_EQ(opened.size(), 1U);
        EXPECT_EQ(fcntl(opened[0], F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        EXPECT_EQ(fcntl(opened[0], F_GETFL) & O_ACCMODE, O_RDWR);
    }
    EXPECT_THAT(OpenDeviceFiles(), IsEmpty());
}

TEST_F(UsbOpening, AStandardDescriptorThatTheProgramClosedIsNotTaken) {
    testbed.AddFile("/dev/usbtmc1", "one");
    long opened = -1;
    Transfer read;
    bool zeroIsFree = false;
    bool oneIsFree = false;
    std::fflush(stdout);
    {
        const Replaced input(STDIN_FILENO, -1);
        const Replaced output(STDOUT_FILENO, -1);
        opened = Open(session, ValidResource);
        zeroIsFree = fcntl(STDIN_FILENO, F_GETFD) == -1;
        oneIsFree = fcntl(STDOUT_FILENO, F_GETFD) == -1;
        read = Read(session, 10);
    }
    EXPECT_EQ(opened, VI_SUCCESS);
    EXPECT_TRUE(zeroIsFree);
    EXPECT_TRUE(oneIsFree);
    EXPECT_EQ(read, Received("one"));
}

TEST_F(UsbOpening, AClosedSessionNeverTouchesStandardInput) {
    testbed.AddFile("/dev/usbtmc1", "one");
    const std::string fifo = testbed.Place("/dev/fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const Descriptor typing(open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(write(typing.Get(), "typed", 5), 5);
    const Replaced input(STDIN_FILENO, typing.Get());
    const Transfer read = Read(session, 10);
    const Transfer written = Write(session, "x");
    ASSERT_EQ(Open(session, ValidResource), VI_SUCCESS);
    session.CloseConnection();
    EXPECT_EQ(Read(session, 10).status, VI_ERROR_CONN_LOST);
    EXPECT_EQ(Write(session, "x").status, VI_ERROR_CONN_LOST);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    char left[20];
    const ssize_t size = ::read(STDIN_FILENO, left, sizeof left);
    EXPECT_EQ(read, (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_EQ(written, (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_EQ(std::string(left, size > 0 ? static_cast<std::size_t>(size) : 0), "typed");
}

namespace {

class UsbTransfer : public ::testing::Test {
protected:
    UsbTransfer() { EXPECT_EQ(Open(session, ValidResource), VI_SUCCESS); }

    UsbTestbed testbed;
    ScriptedUsbtmc device{testbed, "/dev/usbtmc1"};
    CSessionUSBTMC session;
};

// What a failing read of ten bytes answers and prints.
Transfer FailedRead(CSessionUSBTMC& session, std::string& said) {
    CaptureStdout();
    const Transfer read = Read(session, 10);
    said = GetCapturedStdout();
    return read;
}

} // namespace

TEST_F(UsbTransfer, WritesAndReadsAsTheyCome) {
    device.AnswerRead("Orvane,KX10\n");
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(session, 100), Received("Orvane,KX10\n"));
    EXPECT_THAT(device.Asked(), ElementsAre("write *IDN?\n", "read 100"));
}

TEST_F(UsbTransfer, AReadIsOneReadWhateverItGives) {
    device.AnswerRead("first\n").AnswerRead("").AnswerRead("the rest");
    EXPECT_EQ(Read(session, 100), Received("first\n"));
    EXPECT_EQ(Read(session, 100), Received(""));
    EXPECT_EQ(Read(session, 3), Received("the"));
    EXPECT_THAT(device.Asked(), ElementsAre("read 100", "read 100", "read 3"));
}

TEST_F(UsbTransfer, ANulFollowsTheDataOnPurpose) {
    device.AnswerRead("abc").AnswerRead("full").AnswerRead("");
    unsigned char buffer[6];
    for (const auto& [room, end] : {std::pair{5UL, 3}, std::pair{4UL, 4}, std::pair{5UL, 0}}) {
        std::fill(std::begin(buffer), std::end(buffer), 'x');
        EXPECT_EQ(session.Read(buffer, room, nullptr), VI_SUCCESS);
        EXPECT_EQ(buffer[end], 0) << end;
        EXPECT_EQ(buffer[5], 'x') << end;
    }
}

TEST_F(UsbTransfer, BinaryDataPassUnchanged) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all += static_cast<char>(value);
    }
    device.AnswerRead(all);
    EXPECT_EQ(Write(session, all), Sent(256));
    EXPECT_EQ(Read(session, 256), Received(all));
    EXPECT_EQ(device.Asked().front(), "write " + all);
}

TEST_F(UsbTransfer, AFailedReadAbortsTheReplyAndAnswersABareMinusOneOnPurpose) {
    device.FailRead(ETIMEDOUT).AnswerRead("next");
    std::string said;
    EXPECT_EQ(FailedRead(session, said), (Transfer{-1, 0}));
    EXPECT_EQ(said, "Error during read answer: Connection timed out\n"
                    "Error during read reset timeout: Connection timed out\n");
    EXPECT_THAT(device.Asked(), ElementsAre("read 10", "control 5b04"));
    EXPECT_EQ(Read(session, 10), Received("next"));
}

TEST_F(UsbTransfer, AFailedAbortSaysItsOwnReason) {
    device.FailRead(EPIPE).FailControl(ENODEV);
    std::string said;
    EXPECT_EQ(FailedRead(session, said), (Transfer{-1, 0}));
    EXPECT_EQ(said, "Error during read answer: Broken pipe\n"
                    "Error during read reset timeout: No such device\n");
}

TEST_F(UsbTransfer, TheTextsAreFlushedAtOnce) {
    device.FailRead(EPROTO);
    const Pipe pipe;
    std::string said;
    std::fflush(stdout);
    {
        const Replaced standardOutput(STDOUT_FILENO, pipe.in.Get());
        Read(session, 10);
        said = pipe.Content();
    }
    EXPECT_EQ(said, "Error during read answer: Protocol error\n"
                    "Error during read reset timeout: Protocol error\n");
}

TEST_F(UsbTransfer, ASignalDoesNotEndATransfer) {
    device.FailRead(EINTR).AnswerRead("data").FailWrite(EINTR);
    EXPECT_EQ(Read(session, 10), Received("data"));
    EXPECT_EQ(Write(session, "x"), Sent(1));
    EXPECT_THAT(device.Asked(), ElementsAre("read 10", "read 10", "write x", "write x"));
}

TEST_F(UsbTransfer, AFailedWriteReportsSuccessOnPurpose) {
    device.FailWrite(ETIMEDOUT);
    CaptureStdout();
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_THAT(device.Asked(), ElementsAre("write *IDN?\n"));
}

TEST_F(UsbTransfer, CountsThatAreNotWantedAndEmptyTransfersAreTolerated) {
    device.AnswerRead("a").AnswerRead("").FailRead(EIO);
    unsigned char buffer[2] = {};
    EXPECT_EQ(session.Write(buffer, 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(session.Read(buffer, 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(session.Write(nullptr, 0, nullptr), VI_SUCCESS);
    EXPECT_EQ(session.Read(nullptr, 0, nullptr), VI_SUCCESS);
    CaptureStdout();
    EXPECT_EQ(session.Read(buffer, 1, nullptr), -1);
    GetCapturedStdout();
}

TEST_F(UsbTransfer, ClearingIsNotOfferedAndTouchesNothingOnPurpose) {
    EXPECT_EQ(session.Clear(), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_NIMPL_OPER);
    EXPECT_THAT(device.Asked(), IsEmpty());
    EXPECT_EQ(Write(session, "x"), Sent(1));
}

TEST(SessionUSBTMC, KnowsOneAttribute) {
    CSessionUSBTMC session;
    std::uint64_t value = ~0ULL;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, &value), VI_SUCCESS);
    EXPECT_EQ(value, 0xFFFFFFFF00000001ULL);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    for (const unsigned long other : {VI_ATTR_TMO_VALUE, VI_ATTR_INTF_TYPE, VI_ATTR_TERMCHAR,
                                      VI_ATTR_MANF_NAME, VI_ATTR_USB_SERIAL_NUM}) {
        value = 7;
        EXPECT_EQ(session.GetAttribute(other, &value), VI_ERROR_NSUP_ATTR) << std::hex << other;
        EXPECT_EQ(value, 7U);
    }
}

TEST(SessionUSBTMC, NoAttributeCanBeSet) {
    CSessionUSBTMC session;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1000), VI_ERROR_NIMPL_OPER);
    std::uint32_t enabled = 0;
    session.GetAttribute(VI_ATTR_TERMCHAR_EN, &enabled);
    EXPECT_EQ(enabled, 1U);
}

TEST(SessionUSBTMC, OffersNothingBeyondItsOwnOperations) {
    CSessionUSBTMC session;
    EXPECT_EQ(session.Flush(0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.SetBuf(0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.EnableEvent(0, 0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

// A lock that excluded would stop the test here.
TEST(UsbLock, ExcludesNobodyOnPurpose) {
    csUSB.Lock();
    csUSB.Lock();
    csUSB.UnLock();
    csUSB.UnLock();
    csUSB.UnLock();
    USBTMCCriticalSection another;
    another.Lock();
    static_assert(std::is_empty_v<USBTMCCriticalSection>);
}
