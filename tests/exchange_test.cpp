// The file exchanges with the SQL gateway and the legacy host, with a counterpart at the other end.
#include <gtest/gtest.h>

#include "Network.h"
#include "Responder.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

class Gateway : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(exchange);
        configure("7", "1");
    }
    void configure(const std::string& id, const std::string& timeout)
    {
        site.settings("[CONFIG]\nPATH=" + exchange.string() + "\n[CLIENT]\nID=" + id +
                      "\nTIMEOUT=" + timeout + "\n" + messages);
        EXPECT_FALSE(desk.open("SQL")) << desk.failure().description;
    }

    Site site;
    const std::filesystem::path exchange = site.directory / "exchange", files = exchange / "ZSQL_007";
    const std::filesystem::path request = exchange / "ZSQL_007.CL1", answer = exchange / "ZSQL_007.CL2";
    Client desk = site.client();
};

TEST_F(Gateway, Answers)
{
    const std::string tabs(300, '\t');
    struct Case
    {
        const char* what;
        Responder::Reply reply;
        std::string answer;
    } const cases[] = {
        {"record", whole("01\tA\tB\r\nrest"), "Inv. X9|01|Inv. X9A|B||\n"},
        {"late, without a line end", after(300, whole("Civica\tA")), "Inv. X9|Civica|Inv. X9A||\n"},
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
    for (const Case& c : cases) {
        const Responder gateway(files, c.reply);
        EXPECT_EQ(desk.ask("01||x9"), c.answer) << c.what;
        EXPECT_EQ(exists(answer), std::string(c.what) == "empty file") << c.what;
        remove(answer);
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

// Each failure is recorded, said in its line, and leaves nothing open behind it.
TEST_F(Gateway, Failures)
{
    const std::string failed = "Codice Bibl. 01|Coll. A, Inv. 1|Errore nei parametri\n";
    struct Case
    {
        const char* what;
        std::string timeout;
        std::function<void()> damage;
        std::int32_t number;
    } const cases[] = {
        {"directory gone", "1", [&] { remove_all(exchange); }, 76},
        {"request is a directory", "1", [&] { create_directories(request); }, 75},
        {"wait beyond the clock", "2147484", [] {}, 6},
        {"answer is empty", "1", [&] { write(answer, ""); }, 62},
    };
    for (const Case& c : cases) {
        configure("7", c.timeout);
        c.damage();
        const std::size_t before = openFiles();
        EXPECT_EQ(desk.ask("01|A|1"), failed) << c.what;
        const Failed failure = desk.failure();
        EXPECT_EQ(failure.number, c.number) << c.what << ": " << failure.description;
        EXPECT_EQ(failure.source, "SvrODBC.CallSql") << c.what;
        EXPECT_EQ(openFiles(), before) << c.what;
        remove_all(exchange);
        std::filesystem::create_directory(exchange);
    }
    write(answer, "x\tagain");
    configure("7", "1");
    EXPECT_EQ(desk.ask("01||1"), "Inv. 1|x|Inv. 1again||\n");
}

class Host : public testing::Test
{
protected:
    static constexpr const char* libraries =
        "codbib=01,AA,Civica\ncodbib=02,ZZ,Alfa\ncodbib=00,AA,Centrale\n";

    void SetUp() override { configure("1", "40", "ZZ=Non collegata", libraries); }
    // CLIENT.PAR, with wait limit, width and line 14 as given.
    void configure(const std::string& limit, const std::string& width, const std::string& last,
                   const std::string& libraryLines)
    {
        std::filesystem::create_directory(exchange);
        site.hostParameters("CLIENT= 7\nTIMEOUT=" + limit + "\nDIR=" + exchange.string() +
                            "/\n4=\n5=\nWIDTH=" + width +
                            "\n7=\n8=\n9=\n10=\nTIMEOUTTEXT= Non risponde\nEMPTYTEXT=Vuoto\n13=\n" + last +
                            "\n" + libraryLines);
        EXPECT_FALSE(desk.open("7000")) << desk.failure().description;
    }

    Site site;
    const std::filesystem::path exchange = site.directory / "host", files = exchange / "Z7000_07";
    const std::filesystem::path request = exchange / "Z7000_07.CL1", answer = exchange / "Z7000_07.CL2";
    Client desk = site.client();
};

TEST_F(Host, Answers)
{
    const Responder::Reply inPieces = [](const std::string&, const std::filesystem::path& file) {
        write(file, ""); // nothing to read yet: the wait goes on
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        write(file, "Disponibile\r\n");
    };
    struct Case
    {
        const char* what;
        Responder::Reply reply;
        std::string answer;
    } const cases[] = {
        {"text", whole("Disponibile\r\nrest"), "Disponibile"},
        {"blanks around", whole("  In sede "), "In sede"},
        {"TABs, blanks in front of them dropped", whole("A \t\tB  \tC"), "A   B   C"},
        {"cut to the width", whole(std::string(39, 'x')), std::string(38, 'x')},
        {"empty line", whole("\r\n"), "Vuoto"},
        {"only blanks is not empty", whole("  \r\n"), ""},
        {"an empty file at first", inPieces, "Disponibile"},
        {"characters above 127", whole("gi\xE0\r\n"), "già"},
        {"starts with code 0", whole(std::string("\0rotto", 6)), "~"},
        {"too late", after(2000, whole("zu spät")), "Non risponde"},
    };
    for (const Case& c : cases) {
        const Responder host(files, c.reply);
        EXPECT_EQ(desk.ask("01||9"),
                  c.answer == "~" ? "Codice Bibl. 01|Coll. , Inv. 9|rotto\n" : "Civica|" + c.answer + "||\n")
            << c.what;
    }
}

TEST_F(Host, OwnLibraryFirstOthersByName)
{
    const Responder host(files, [](const std::string& line, const std::filesystem::path& file) {
        whole(line + "\r\n")(line, file);
    });
    EXPECT_EQ(desk.ask("01|| 123456789\n02||1\n09||1\n00||1"),
              "Centrale|WL,001||\n"
              "09|Disponibilità non verificabile|Opera non posseduta dalla biblioteca|\n"
              "Alfa|Disponibilità non verificabile|Non collegata|\n"
              "Civica|WL,01456789||\n");
    EXPECT_EQ(desk.ask("01||1\n01||2\n00||3\n00||4"),
              "Centrale|WL,004||\nCentrale|WL,003||\nCivica|WL,011||\nCivica|WL,012||\n");
    // A code is translated by the group column, row after row; capitals are no library line to the host call.
    configure("1", "40", "=", "codbib=AA,01,Alpha\ncodbib=BB,AA,Beta\ncodbib=01,xx,Civica\nCODBIB=02,BB,x\n");
    configure("1", "40", "XY=Qui", "codbib=AA,01,Alpha\ncodbib=BB,AA,Beta\ncodbib=01,xx,Civica\n");
    EXPECT_EQ(desk.ask("01||1"), "Civica|WL,BB1||\n");
    configure("1", "40", "B=Qui", "codbib=AA,01,Alpha\ncodbib=BB,AA,Beta\ncodbib=01,xx,Civica\n");
    remove(request);
    EXPECT_EQ(desk.ask("01||1"), "Civica|Qui||\n");
    EXPECT_FALSE(exists(request)) << "answered without an exchange";
}

// Failed calls answer nothing and record why.
TEST_F(Host, Failures)
{
    const std::string many = [] {
        std::string lines;
        for (int i = 0; i < 11; ++i)
            lines += "codbib=0" + std::to_string(i % 10) + ",AA,x\n";
        return lines;
    }();
    struct Case
    {
        const char* what;
        std::function<void()> damage;
        std::int32_t number;
        const char* answer;
    };
    const auto parameters = [this](const std::string& text) {
        return [=, this] { site.hostParameters(text); };
    };
    const Case cases[] = {
        {"no settings file", [&] { remove(site.directory / "CLIENT.PAR"); }, 53, ""},
        {"thirteen lines", parameters("1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n"), 62, ""},
        {"no = on line 14", parameters("1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n14\n"), 5, ""},
        {"number out of range", parameters("1\n2\n3\n4\n5\n40000\n"), 6, ""},
        {"eleven libraries",
         [&] { write(site.directory / "CLIENT.PAR", read(site.directory / "CLIENT.PAR") + wire(many)); }, 9,
         ""},
        {"exchange directory gone", [&] { remove_all(exchange); }, 76, ""},
        {"width 1", [&] { configure("0.01", "1", "Z=", libraries); }, 5,
         "Non risponde"}, // stored before the cut
    };
    for (const Case& c : cases) {
        SetUp();
        c.damage();
        const std::size_t before = openFiles();
        EXPECT_EQ(desk.ask("01||1"), "Civica|" + std::string(c.answer) + "||\n") << c.what;
        EXPECT_EQ(desk.failure().number, c.number) << c.what << ": " << desk.failure().description;
        EXPECT_EQ(desk.failure().source, "SvrODBC.Call7000") << c.what;
        EXPECT_EQ(openFiles(), before) << c.what;
    }
}

// A call that enters while the host is waited for gets its own answer, and so does the waiting one, although
// both use the same two files.
TEST_F(Host, ACallDuringTheWait)
{
    const Responder host(files, [](const std::string& line, const std::filesystem::path& file) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        whole(line + "\r\n")(line, file);
    });
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

} // namespace
} // namespace vqloan::test
