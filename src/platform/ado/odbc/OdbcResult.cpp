#include "platform/ado/odbc/OdbcResult.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string>

#include "platform/ado/DateValue.h"
#include "platform/ado/odbc/OdbcFailure.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

using odbc::check;
using odbc::Statement;
using odbc::wide;

using Kind = OdbcColumns::Kind;

Kind kindOf(SQLSMALLINT type)
{
    switch (type) {
    case SQL_BIT:
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
        return Kind::Integer;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return Kind::Real;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return Kind::Decimal;
    case SQL_DATE: // of the standard's second version, which some drivers still tell
    case SQL_TIMESTAMP:
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
        return Kind::Date;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return Kind::Bytes;
    default:
        return Kind::Text;
    }
}

// The current row of a statement, column by column from the left: many drivers give them in this order only,
// and each once.
class Row
{
public:
    explicit Row(const Statement& statement) : statement_(statement) {}

    Variant value(SQLUSMALLINT column, Kind kind)
    {
        switch (kind) {
        case Kind::Integer: {
            SQLBIGINT number = 0;
            return get(column, SQL_C_SBIGINT, number) ? Variant::integer(number) : Variant::null();
        }
        case Kind::Real: {
            double number = 0;
            return get(column, SQL_C_DOUBLE, number) ? Variant(number) : Variant::null();
        }
        case Kind::Decimal: {
            const auto digits = wholeText(column);
            return digits ? decimal(*digits) : Variant::null();
        }
        case Kind::Date:
            return date(column);
        case Kind::Bytes: {
            const auto bytes = whole<char>(column, SQL_C_BINARY);
            return bytes ? Variant(text::fromBytes(*bytes)) : Variant::null();
        }
        case Kind::Text:
            break;
        }
        const auto text = wholeText(column);
        return text ? Variant(*text) : Variant::null();
    }

private:
    // False for NULL.
    template <class Value> bool get(SQLUSMALLINT column, SQLSMALLINT type, Value& value)
    {
        SQLLEN length = 0;
        check(SQLGetData(statement_.get(), column, type, &value, sizeof value, &length), statement_);
        return length != SQL_NULL_DATA;
    }

    // A value of any length, in pieces of the buffer's size; nothing for NULL.
    template <class Unit> std::optional<std::basic_string<Unit>> whole(SQLUSMALLINT column, SQLSMALLINT type)
    {
        std::basic_string<Unit> value;
        Unit piece[1024];
        // Every piece of a text ends in a unit of value 0.
        const std::size_t room = std::size(piece) - (type == SQL_C_BINARY ? 0 : 1);
        for (;;) {
            SQLLEN length = 0;
            const SQLRETURN result =
                SQLGetData(statement_.get(), column, type, piece, static_cast<SQLLEN>(sizeof piece), &length);
            if (result == SQL_NO_DATA)
                return value;
            check(result, statement_);
            if (length == SQL_NULL_DATA)
                return {};
            const std::size_t rest = static_cast<std::size_t>(length) / sizeof(Unit);
            const bool isLast = length != SQL_NO_TOTAL && rest <= room;
            value.append(piece, isLast ? rest : room);
            if (isLast)
                return value;
        }
    }

    // Drivers for narrow text alone refuse wide text and give the bytes of the server.
    std::optional<std::u16string> wholeText(SQLUSMALLINT column)
    {
        if (!narrow_) {
            try {
                return whole<char16_t>(column, SQL_C_WCHAR);
            } catch (const RuntimeError&) {
                narrow_ = true;
            }
        }
        const auto bytes = whole<char>(column, SQL_C_CHAR);
        return bytes ? std::optional(text::fromBytes(*bytes)) : std::nullopt;
    }

    Variant date(SQLUSMALLINT column)
    {
        SQL_TIMESTAMP_STRUCT stamp{};
        SQLLEN length = 0;
        const SQLRETURN result =
            SQLGetData(statement_.get(), column, SQL_C_TYPE_TIMESTAMP, &stamp, sizeof stamp, &length);
        if (SQL_SUCCEEDED(result)) {
            if (length == SQL_NULL_DATA)
                return Variant::null();
            if (const auto days = dateValue({stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute,
                                             stamp.second + stamp.fraction / 1e9}))
                return Variant::fromDate(*days);
        }
        const auto text = wholeText(column);
        return text ? Variant(*text) : Variant::null();
    }

    static Variant decimal(const std::u16string& digits)
    {
        const std::string narrow = text::toUtf8(digits);
        const char *begin = narrow.data(), *end = begin + narrow.size();
        std::int64_t whole = 0;
        if (std::from_chars(begin, end, whole).ptr == end)
            return Variant::integer(whole);
        double real = 0;
        constexpr std::size_t exactDigits = std::numeric_limits<double>::digits10;
        if (narrow.size() <= exactDigits && std::from_chars(begin, end, real).ptr == end)
            return real;
        return digits;
    }

    const Statement& statement_;
    bool narrow_ = false;
};

} // namespace

OdbcColumns::OdbcColumns(const Statement& statement)
{
    SQLSMALLINT count = 0;
    check(SQLNumResultCols(statement.get(), &count), statement);
    std::vector<std::u16string> all;
    for (SQLSMALLINT i = 1; i <= count; ++i) {
        char16_t name[256] = {};
        SQLSMALLINT length = 0, type = 0;
        check(SQLDescribeColW(statement.get(), static_cast<SQLUSMALLINT>(i), wide(name),
                              static_cast<SQLSMALLINT>(std::size(name)), &length, &type, nullptr, nullptr,
                              nullptr),
              statement);
        all.emplace_back(name);
        kinds.push_back(kindOf(type));
    }
    names.assign(all);
}

OdbcResult::OdbcResult(const Statement& statement, std::shared_ptr<const OdbcColumns> columns)
    : columns_(std::move(columns))
{
    Row row(statement);
    const std::vector<Kind>& kinds = columns_->kinds;
    while (!kinds.empty()) {
        const SQLRETURN result = SQLFetch(statement.get());
        if (result == SQL_NO_DATA)
            break;
        check(result, statement);
        for (std::size_t i = 0; i < kinds.size(); ++i)
            values_.push_back(row.value(static_cast<SQLUSMALLINT>(i + 1), kinds[i]));
    }
}

bool OdbcResult::next()
{
    return row_++ * columns_->kinds.size() < values_.size();
}

} // namespace vqloan
