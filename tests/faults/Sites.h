// A site for all three kinds, whose lines are answered without another process.
#pragma once

#include <functional>
#include <string>

#include "Network.h"
#include "Site.h"
#include "SqliteFile.h"

namespace vqloan::test {

struct Kind
{
    const char* name;
    std::string question, answer;    // as `wire` writes them
    std::function<void()> beforeAsk; // puts the counterpart's answer where it is taken from
    std::function<void()> pendingEvent;
};

class Sites
{
public:
    Sites()
    {
        const auto exchange = site.directory / "exchange";
        create_directory(exchange);
        site.settings("[CONFIG]\nPATH=" + exchange.string() + "\n[CLIENT]\nTIMEOUT=0\n" +
                      databaseSettings(database.connectionText() + "\nUSERNAME=u\nPASSWORD=§HOME§"));
        site.hostParameters("ID=1\nT=1\nP=" + exchange.string() +
                            "/\n\n\n80\n\n\n\n\nzeit\nleer\n\nG=t\n"
                            "codbib=01,aa,Civica\n");
        const auto answerAs = [=](const char* file, const char* bytes) {
            return [=] { write(exchange / file, bytes); };
        };
        for (const Question& question : questions())
            if (question.situation == std::string("available") ||
                question.situation == std::string("due tomorrow")) {
                kinds[0].question += requestLine(question);
                kinds[0].answer += answerLine(question);
            }
        kinds[1].beforeAsk = answerAs("ZSQL_000.CL2", "Civica\tA\r\n");
        kinds[2].pendingEvent = answerAs("Z7000_01.CL2", "frei\r\n");
    }

    Kind kinds[3] = {{"SQL2", "", "", {}, {}},
                     {"SQL", "01||x9\n", "Inv. X9|Civica|Inv. X9A||\n", {}, {}},
                     {"7000", "01||x9\n", "Civica|frei||\n", {}, {}}};
    SqliteFile database{"BEGIN;" + schemaAndRows() + "COMMIT;"};
    Site site;
};

} // namespace vqloan::test
