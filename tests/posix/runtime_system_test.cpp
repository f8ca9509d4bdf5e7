// What the runtime makes of this system's failures and time zone.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Site.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

TEST(TextFiles, EveryFailureHasItsNumber)
{
    const ScratchDirectory scratch;
    const std::u16string file = writtenTo(scratch, "f", "x");
    std::filesystem::create_directory(scratch / "d");
    ASSERT_EQ(::mkfifo((scratch / "fifo").c_str(), 0600), 0);
    files::openForReading(1, file);
    files::openForWriting(2, scratch.file("out"));

    const auto reading = [](std::u16string path) { return [path] { files::openForReading(9, path); }; };
    const auto writing = [](std::u16string path) { return [path] { files::openForWriting(9, path); }; };
    const auto removing = [](std::u16string path) { return [path] { files::remove(path); }; };
    // clang-format off
    const std::tuple<const char*, std::function<void()>, std::int32_t> cases[] = {
        {"read a missing file", reading(scratch.file("none")), 53},
        {"read in a missing directory", reading(scratch.file("none/f")), 76},
        {"read below a file", reading(scratch.file("f/f")), 76},
        {"read a directory", reading(scratch.file("d")), 75}, {"read no name", reading(u""), 75},
        {"read a name with 0", reading(file + std::u16string(u"\0", 1)), 52},
        {"read a name too long", reading(scratch.file(std::string(300, 'n'))), 52},
        {"write a directory", writing(scratch.file("d")), 75},
        {"write in a missing directory", writing(scratch.file("none/f")), 76},
        {"write a FIFO that nobody reads", writing(scratch.file("fifo")), 75},
        {"remove a missing file", removing(scratch.file("none")), 53},
        {"remove a directory", removing(scratch.file("d")), 75},
        {"number 0", [&] { files::openForReading(0, file); }, 52},
        {"number taken", [&] { files::openForReading(1, file); }, 55},
        {"number not open", [] { files::readLine(9); }, 52},
        {"read what is written", [] { files::readLine(2); }, 54},
        {"write what is read", [] { files::writeLine(1, u""); }, 54},
        {"close a number not open", [] { files::close(9); }, 0},
    };
    // clang-format on
    for (const auto& [name, step, failure] : cases)
        EXPECT_EQ(failureOf(step).number, failure) << name;

    using std::filesystem::perms;
    const std::function<void()> denied[] = {reading(file), writing(file), writing(scratch.file("new")),
                                            removing(file)};
    permissions(scratch / "f", perms::none);
    permissions(scratch.path(), perms::owner_read | perms::owner_exec | perms::others_exec);
    const uid_t user = ::geteuid();
    ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0); // root may do everything
    for (const auto& step : denied)
        EXPECT_EQ(failureOf(step).number, 70);
    ASSERT_EQ(::seteuid(user), 0);
    permissions(scratch.path(), perms::owner_all);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit exhausted{3, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &exhausted), 0);
    EXPECT_EQ(failureOf(reading(scratch.file("out"))).number, 67);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    files::closeAll();
}

TEST(TextFiles, AFullDeviceIsToldAtTheLatestWhenTheFileIsClosed)
{
    const ScratchDirectory scratch;
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit full{0, limit.rlim_max};
    const auto killed = std::signal(SIGXFSZ, SIG_IGN);
    files::openForWriting(1, scratch.file("f"));
    files::writeLine(1, u"x");
    ::setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_EQ(failureOf([] { files::close(1); }).number, 61);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, killed);
    EXPECT_EQ(files::freeNumber(), 1); // free all the same
}

// What strangers put in the place of the files of an exchange: it is neither written nor waited for.
TEST(TextFiles, OfStrangersInASharedDirectory)
{
    const ScratchDirectory scratch;
    const std::u16string own = writtenTo(scratch, "own", "mine");
    create_symlink(scratch / "own", scratch / "link");
    create_symlink(scratch / "nowhere", scratch / "dangling");
    create_symlink("/dev/full", scratch / "device");
    create_directory(scratch / "directory");
    ASSERT_EQ(::mkfifo((scratch / "fifo").c_str(), 0600), 0);
    for (const char* name : {"link", "dangling", "device", "directory", "fifo"}) {
        const std::u16string path = scratch.file(name);
        for (const auto open : {files::openForWriting, files::openForReading})
            EXPECT_EQ(failureOf([&] { open(1, path, files::Place::shared); }).number, 75) << name;
        EXPECT_FALSE(files::tryOpenForReading(1, path)) << name;
    }
    EXPECT_EQ(read(scratch / "own"), "mine");
    EXPECT_FALSE(exists(scratch / "nowhere"));
    files::openForReading(1, scratch.file("link")); // one of its own owner's
    EXPECT_EQ(files::readLine(1), u"mine");

    for (const auto& [size, number] : {std::pair(files::longestSharedLine, 0), {1 << 28, 6}}) {
        resize_file(scratch / "own", size); // costs a full line, and no more
        files::openForReading(2, own, files::Place::shared);
        EXPECT_EQ(failureOf([] { files::readLine(2); }).number, number) << size;
        files::closeAll();
    }
}

TEST(TextFiles, ARequestFollowsNoLink)
{
    Site site;
    const std::string directory = site.directory.path().string() + "/";
    site.settings("[CONFIG]\nPATH=" + directory + "\n[CLIENT]\nID=7\nTIMEOUT=0\n");
    site.hostParameters("7\n0.1\n" + directory +
                        "\n4\n5\n40\n7\n8\n9\n10\n11\n12\n13\nZZ=\ncodbib=01,AA,Civica\n");
    write(site.directory / "own", "mine");
    Client desk = site.client();
    for (const auto& [kind, request] : {std::pair("SQL", "ZSQL_007.CL1"), {"7000", "Z7000_07.CL1"}}) {
        create_symlink(site.directory / "own", site.directory / request);
        ASSERT_FALSE(desk.open(kind)) << desk.failure().description;
        desk.ask("01||1");
        EXPECT_EQ(desk.failure().number, 75) << kind;
        EXPECT_EQ(read(site.directory / "own"), "mine") << kind;
    }
}

TEST(Clock, TodayFollowsTheTimeZone)
{
    // 26 hours lie between these zones, so their dates differ at any time of day.
    ::setenv("TZ", "AAA+12", 1);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double west = clock::today();
    ::setenv("TZ", "BBB-14", 1);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_GT(clock::today(), west);
    ::unsetenv("TZ");
    EXPECT_GT(west, 45000); // after 2023
}

} // namespace
} // namespace vqloan::test
