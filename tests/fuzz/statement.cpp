// Statements whose values travel as parameters find what they find with their literals.
#include <sqlite3.h>

#include "Input.h"
#include "platform/ado/StatementShape.h"

using namespace vqloan;
using namespace vqloan::test;

namespace {

sqlite3* openTable()
{
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    sqlite3_exec(database,
                 "CREATE TABLE T (K, L TEXT, N INTEGER); INSERT INTO T VALUES ('a', 'b', 1), ('1', '''', 2),"
                 "('', 'a''b', 3), (NULL, 'A', 4)",
                 nullptr, nullptr, nullptr);
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, 10'000);
    sqlite3_progress_handler(
        database, 5'000, [](void*) { return 1; }, nullptr);
    // A function may give another value each time.
    sqlite3_set_authorizer(
        database,
        [](void*, int action, const char*, const char*, const char*, const char*) {
            return action == SQLITE_FUNCTION ? SQLITE_DENY : SQLITE_OK;
        },
        nullptr);
    return database;
}

// Nothing where the statement cannot be compiled or run.
std::string rows(std::u16string_view statement, const std::vector<std::u16string_view>& literals)
{
    static sqlite3* const database = openTable();
    const std::string utf8 = text::toUtf8(statement);
    sqlite3_stmt* compiled = nullptr;
    std::string found;
    if (sqlite3_prepare_v2(database, utf8.c_str(), static_cast<int>(utf8.size() + 1), &compiled, nullptr) !=
        SQLITE_OK)
        return "cannot be compiled";
    for (std::size_t i = 0; i < literals.size(); ++i) {
        const std::string value = text::toUtf8(unquoted(literals[i]));
        sqlite3_bind_text(compiled, static_cast<int>(i + 1), value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT);
    }
    int step;
    while ((step = sqlite3_step(compiled)) == SQLITE_ROW)
        for (int column = 0; column < sqlite3_column_count(compiled); ++column) {
            const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(compiled, column));
            found.append(value ? value : "NULL").append("|");
        }
    sqlite3_finalize(compiled);
    return step == SQLITE_DONE ? found : "fails";
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    std::vector<std::u16string_view> literals;
    std::u16string value = text::fromUtf8(input.piece('\n')), doubled;
    for (const char16_t unit : value)
        doubled.append(unit == u'\'' ? 2 : 1, unit);
    const std::u16string simple = u"SELECT N FROM T WHERE K='" + doubled + u"' AND L='b'";
    const StatementShape known = StatementShape::of(simple);
    expect(known.parameterCount() == 2 && known.matches(simple, literals) && unquoted(literals[0]) == value,
           "value", simple);

    const std::u16string any = u"SELECT K, N FROM T WHERE " + text::fromUtf8(input.rest());
    const StatementShape shape = StatementShape::of(any);
    expect(shape.matches(any, literals) && literals.size() == shape.parameterCount(), "shape", any);
    if (literals.empty() || any.find(u'\0') != any.npos) // SQLite reads a statement up to there
        return 0;
    const std::string with = rows(shape.withParameters(), literals), as = rows(any, {});
    expect(with == as || with.starts_with("c") || as == "fails" || with == "fails", with + " for " + as, any);
    return 0;
}
