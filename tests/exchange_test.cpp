// The file exchanges with the SQL gateway and the legacy host, with a counterpart at the other end.
#include <gtest/gtest.h>

#include <map>

#include "Network.h"
#include "Responder.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

// A desk and its exchange directory. Requests and answers stand in files of that name, .CL1 and .CL2.
class Exchange : public testing::Test
{
protected:
    explicit Exchange(const char* name) : files(exchange / name) { create_directory(exchange); }

    // Asks what fails: it is recorded, said in its line, and leaves nothing open behind it.
    void expectFailure(std::int32_t number, const char* source, const std::string& request,
                       const std::string& answer)
    {
        const std::size_t before = openFiles();
        EXPECT_EQ(desk.ask(request), answer);
        const Failed failure = desk.failure();
        EXPECT_EQ(failure.number, number) << failure.description;
        EXPECT_EQ(failure.source, source);
        EXPECT_EQ(openFiles(), before);
    }

    Site site;
    const std::filesystem::path exchange = site.directory / "exchange", files;
    const std::filesystem::path request = files.string() + ".CL1", answer = files.string() + ".CL2";
    Client desk = site.client();
};

// What is special, what is replied, what the desk is told.
using Answered = std::tuple<const char*, Responder::Reply, std::string>;
// What is special, what is broken, the failure recorded, what the desk is told.
using Damaged = std::tuple<const char*, std::function<void()>, std::int32_t, std::string>;

class Gateway : public Exchange
{
protected:
    Gateway() : Exchange("ZSQL_007") { configure("7", "1"); }
    void configure(const std::string& id, const std::string& timeout)
    {
        site.settings("[CONFIG]\nPATH=" + exchange.string() + "\n[CLIENT]\nID=" + id +
                      "\nTIMEOUT=" + timeout + "\n" + messages);
        EXPECT_FALSE(desk.open("SQL")) << desk.failure().description;
    }
};

TEST_F(Gateway, Answers)
{
    const std::string tabs(300, '\t');
    const Answered cases[] = {
        {"record", whole("01\tA\tB\r\nrest"), "Inv. X9|01|Inv. X9A|B||\n"},
        {"late, without a line end", after(300, whole("Civica\tA")), "Inv. X9|Civica|Inv. X9A||\n"},
        {"in pieces", inPieces("Civica", "\tA\r\n"), "Inv. X9|Civica|Inv. X9A||\n"},
        {"no TAB", whole("A B"), "Inv. X9|01|Inv. X9A B||\n"},
        {"TAB at the end", whole("05\t\r\n"), "Inv. X9|05|Inv. X9||\n"},
        {"empty line", whole("\r\n"), "Inv. X9|01|Inv. X9||\n"},
        {"a lone LF is text", whole("01\tA\nB\r\n"), "Inv. X9|01|Inv. X9A\nB||\n"},
        {"characters above 127", whole("01\tgi\xE0 \x80\r\n"), "Inv. X9|01|Inv. X9già €||\n"},
        {"the gateway failed", whole("\tE1\tE2\r\n"), "Codice Bibl. 01|Coll. , Inv. X9|E1E2\n"},
        {"hundreds of TABs", whole("01\tA" + tabs + "B"),
         "Inv. X9|01|Inv. X9A" + std::string(300, '|') + "B||\n"},
        {"empty file", whole(""), "Codice Bibl. 01|Coll. , Inv. X9|Errore nei parametri\n"},
    };
    for (const auto& [what, reply, told] : cases) {
        const Responder gateway(files, reply);
        EXPECT_EQ(desk.ask("01||x9"), told) << what;
        EXPECT_FALSE(exists(answer)) << what;
    }
}

TEST_F(Gateway, WritesTheRequestAndLeavesIt)
{
    write(answer, "left over\tA\r\n"); // taken at once, whatever was asked
    EXPECT_EQ(desk.ask("01||000123456|a note"),
              "Inv. 000123456, a note|left over|Inv. 000123456, a noteA||\n");
    EXPECT_EQ(read(request), "WL,000123456,01\r\n");
    EXPECT_FALSE(exists(answer));
    write(answer, "x\ty");
    desk.ask("gi\u00E0||\u20AC\u4E2D");
    EXPECT_EQ(read(request), "WL,\x80?,gi\xE0\r\n");
    for (const auto& [id, name] : {std::pair("42", "ZSQL_042"), {"1234", "ZSQL_1234"}, {"-7", "ZSQL_-007"}}) {
        configure(id, "0");
        EXPECT_EQ(desk.ask("01||1"), "Inv. 1|01|Inv. 1Nessuna risposta ||\n");
        EXPECT_TRUE(exists(exchange / (name + std::string(".CL1")))) << name;
    }
}

TEST_F(Gateway, Failures)
{
    const std::string failed = "Codice Bibl. 01|Coll. A, Inv. 1|Errore nei parametri\n";
    const Damaged cases[] = {
        {"directory gone", [&] { remove_all(exchange); }, 76, failed},
        {"request is a directory", [&] { create_directories(request); }, 75, failed},
        {"wait beyond the clock", [&] { configure("7", "2147484"); }, 6, failed},
        {"answer is empty", [&] { write(answer, ""); }, 62, failed},
    };
    for (const auto& [what, damage, number, told] : cases) {
        SCOPED_TRACE(what);
        configure("7", "1");
        damage();
        expectFailure(number, "SvrODBC.CallSql", "01|A|1", told);
        remove_all(exchange);
        create_directory(exchange);
    }
    write(answer, "x\tagain");
    configure("7", "1");
    EXPECT_EQ(desk.ask("01||1"), "Inv. 1|x|Inv. 1again||\n");
}

// Of CLIENT.PAR, by number.
using Lines = std::map<std::size_t, std::string>;

class Host : public Exchange
{
protected:
    static constexpr const char* libraries =
        "codbib=01,AA,Civica\ncodbib=02,ZZ,Alfa\ncodbib=00,AA,Centrale\n";

    Host() : Exchange("Z7000_07") { configure(); }
    // CLIENT.PAR with these lines in the place of its own.
    void configure(Lines lines = {}, const std::string& libraryLines = libraries)
    {
        create_directory(exchange);
        lines.insert(parameters.begin(), parameters.end());
        std::string file;
        for (const auto& [number, text] : lines)
            file += text + "\n";
        site.hostParameters(file + libraryLines);
        EXPECT_FALSE(desk.open("7000")) << desk.failure().description;
    }

    const std::string path = exchange.string() + "/";
    const Lines parameters{{1, "CLIENT= 7"},
                           {2, "TIMEOUT=1"},
                           {3, "DIR=" + path},
                           {4, "="},
                           {5, "="},
                           {6, "WIDTH=40"},
                           {7, "="},
                           {8, "="},
                           {9, "="},
                           {10, "="},
                           {11, "TIMEOUTTEXT= Non risponde"},
                           {12, "EMPTYTEXT=Vuoto"},
                           {13, "="},
                           {14, "ZZ=Non collegata"}};
};

// What answers with the line that it was asked.
void echo(const std::string& line, const std::filesystem::path& file)
{
    whole(line + "\r\n")(line, file);
}

TEST_F(Host, Answers)
{
    const std::string lost = "Codice Bibl. 01|Coll. , Inv. 9|rotto\n";
    const Answered cases[] = {
        {"text", whole("Disponibile\r\nrest"), "Disponibile"},
        {"blanks around", whole("  In sede "), "In sede"},
        {"TABs, blanks in front of them dropped", whole("A \t\tB  \tC"), "A   B   C"},
        {"cut to the width", whole(std::string(39, 'x')), std::string(38, 'x')},
        {"empty line", whole("\r\n"), "Vuoto"},
        {"only blanks is not empty", whole("  \r\n"), ""},
        {"an empty file at first", inPieces("", "Disponibile\r\n"), "Disponibile"},
        {"characters above 127", whole("gi\xE0\r\n"), "già"},
        {"starts with code 0", whole(std::string("\0rotto", 6)), "~"},
        {"too late", after(1500, whole("zu spät")), "Non risponde"},
    };
    for (const auto& [what, reply, told] : cases) {
        const Responder host(files, reply);
        EXPECT_EQ(desk.ask("01||9"), told == "~" ? lost : "Civica|" + told + "||\n") << what;
    }
}

TEST_F(Host, OwnLibraryFirstOthersByName)
{
    const Responder host(files, echo);
    EXPECT_EQ(desk.ask("01|| 123456789\n02||1\n09||1\n00||1"),
              "Centrale|WL,001||\n"
              "09|Disponibilità non verificabile|Opera non posseduta dalla biblioteca|\n"
              "Alfa|Disponibilità non verificabile|Non collegata|\n"
              "Civica|WL,01456789||\n");
    EXPECT_EQ(desk.ask("01||1\n01||2\n00||3\n00||4"),
              "Centrale|WL,004||\nCentrale|WL,003||\nCivica|WL,011||\nCivica|WL,012||\n");
}

// What is asked of a host that does not answer.
TEST_F(Host, ParametersAndTranslation)
{
    const std::string long_(32766, 'x'), cut(38, 'x');
    const std::string aa = "codbib=AA,01,A\n", bb = "codbib=BB,AA,B\n",
                      threeRows = aa + bb + "codbib=CC,BB,C\n";
    // What is special, lines by number, library lines, request line, what is sent, what the desk is told.
    using Case = std::tuple<const char*, Lines, std::string, std::string, std::string, std::string>;
    const Case cases[] = {
        {"blanks around lines", {{3, "  " + path + "  "}}, "  codbib=01,AA,X", "01||1", "WL,011", ""},
        {"a code is translated row after row", {}, threeRows, "AA||1", "WL,CC1", ""},
        {"capitals are no library line", {}, aa + "CODBIB=BB,AA,B\n", "AA||1", "WL,AA1", ""},
        {"the request is in capitals", {}, "codbib=xy,AA,X\n", "xy||1", "WL,XY1", ""},
        {"the line sent is trimmed", {}, "codbib=1 ,AA,A\ncodbib=AA,BB,B\n", "AA||", "WL,1", ""},
        {"no answer in time and no text for it", {{11, "="}}, libraries, "01||1", "WL,011", "Vuoto"},
        {"answered here", {{14, "B=Qui"}}, aa + bb, "AA||1", "", "Qui"},
        {"a key that ends in a blank", {{14, "  01 =Qui"}}, libraries, "01||1 23456", "", "Qui"},
        {"the same, no blank", {{14, "01 =Qui"}}, libraries, "01||123456", "WL,01123456", ""},
        {"a TAB at the last position", {{14, "=" + long_ + "\t"}}, libraries, "01||1", "", cut},
    };
    for (auto [what, lines, libraryLines, line, sent, told] : cases) {
        lines[2] = "TIMEOUT=.01";
        configure(lines, libraryLines);
        remove(request);
        const std::string answer = desk.ask(line);
        EXPECT_EQ(answer.substr(answer.find('|') + 1), (told.empty() ? "Non risponde" : told) + "||\n")
            << what;
        EXPECT_EQ(read(request), sent.empty() ? "" : sent + "\r\n") << what;
    }
}

// Failed calls answer nothing and record why.
TEST_F(Host, Failures)
{
    const std::string thirteen = "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n";
    const std::string eight = libraries + std::string(libraries) + "codbib=03,AA,x\ncodbib=04,AA,x\n";
    const auto file = site.directory / "CLIENT.PAR";
    const auto line = [this](std::size_t number, const std::string& text) {
        return [this, number, text] { configure({{number, text}, {2, "=0.01"}}); };
    };
    const auto endlessWait = [this] { configure({{2, "=1E39"}, {3, "none/"}}); };
    const Damaged cases[] = {
        {"no settings file", [&] { remove(file); }, 53, ""},
        {"thirteen lines", [&] { site.hostParameters(thirteen); }, 62, ""},
        {"wait limit out of range", endlessWait, 6, ""},
        {"a blank in front of the directory", line(3, "= exchange/"), 76, ""}, // " exchange" is not there
        {"line 4 out of range", line(4, "=40000"), 6, ""},
        {"line 5 out of range", line(5, "=40000"), 6, ""},
        {"width out of range", line(6, "=40000"), 6, ""},
        {"line 7 out of range", line(7, "=40000"), 6, ""},
        {"line 10 out of range", line(10, "=40000"), 6, ""},
        {"no = on line 14", line(14, "ZZ"), 5, ""},
        {"eleven libraries", [&] { write(file, read(file) + wire(eight)); }, 9, ""},
        {"exchange directory gone", [&] { remove_all(exchange); }, 76, ""},
        {"a TAB out of reach", line(14, "=" + std::string(32767, 'x') + "\t"), 6, ""},
        {"width 1", line(6, "=1"), 5, "Non risponde"}, // stored before the cut
    };
    create_directory(std::filesystem::path("exchange"));
    for (const auto& [what, damage, number, told] : cases) {
        SCOPED_TRACE(what);
        configure();
        damage();
        expectFailure(number, "SvrODBC.Call7000", "01||1", "Civica|" + told + "||\n");
    }
    remove_all(std::filesystem::path("exchange"));
}

// A call that enters while the host is waited for gets its own answer, and so does the waiting one, although
// both use the same two files.
TEST_F(Host, ACallDuringTheWait)
{
    const Responder host(files, after(100, echo));
    struct Second
    {
        Client desk;
        std::string answer;
    } second{site.client(), {}};
    ASSERT_FALSE(second.desk.open("7000"));
    postEvent([&] { second.answer = second.desk.ask("01||222222\n01||333333"); });
    EXPECT_EQ(desk.ask("01||111111"), "Civica|WL,01111111||\n");
    EXPECT_EQ(second.answer, "Civica|WL,01222222||\nCivica|WL,01333333||\n");
}

// It sees the waiting one through first, whose events go on running; the directory may have another name.
TEST_F(Host, EventsRunWhileACallWaitsForAnother)
{
    Client second = site.client();
    ASSERT_FALSE(second.open("7000"));
    std::string told;
    postEvent([&] {
        postEvent([&] {
            write(answer, "uno\r\n");
            postEvent([&] { write(answer, "due\r\n"); });
        });
        configure({{3, "DIR=" + path + "./"}});
        told = second.ask("01||2");
    });
    EXPECT_EQ(desk.ask("01||1"), "Civica|uno||\n");
    EXPECT_EQ(told, "Civica|due||\n");
}

// The own library counts as it is when a line has its answer.
TEST_F(Host, TheOwnLibraryChangesDuringTheWait)
{
    const Responder host(files, after(100, echo));
    configure({}, "codbib=01,AA,Civica\ncodbib=02,ZZ,Ponte\n");
    const std::string unlisted = "09|Disponibilità non verificabile|Opera non posseduta dalla biblioteca|\n",
                      skipped = "Ponte|Disponibilità non verificabile|Non collegata|\n",
                      answered = "Civica|WL,011||\n";
    for (const auto& [before, during, expected] : {std::tuple("01", "99", unlisted + answered + skipped),
                                                   {"99", "01", answered + unlisted + skipped}}) {
        desk.ownLibrary(before);
        postEvent([&, code = during] { desk.ownLibrary(code); });
        EXPECT_EQ(desk.ask("09||1\n02||1\n01||1"), expected) << before << " to " << during;
    }
}

TEST_F(Host, AnEmptyAnswerRunsNoEvents)
{
    bool ran = false;
    configure({{2, "TIMEOUT=0.3"}});
    postEvent([&] {
        write(answer, "");
        postEvent([&] { ran = true; });
    });
    EXPECT_EQ(desk.ask("01||1"), "Civica|Non risponde||\n");
    EXPECT_FALSE(ran);
    desk.ask("01||1");
    EXPECT_TRUE(ran) << "no file at all does";
}

} // namespace
} // namespace vqloan::test
