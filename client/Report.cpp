#include "Report.h"

#include <ostream>

#include "platform/runtime/Text.h"

namespace vqloan::client {

void Report::section(std::u16string title, Row heading)
{
    sections_.push_back({std::move(title), {std::move(heading)}});
}

void Report::fact(Row row)
{
    sections_.back().rows.push_back(std::move(row));
}

void Report::finding(std::u16string what, std::u16string advice)
{
    findings_.push_back({std::move(what), std::move(advice)});
}

void Report::print(std::ostream& out, std::size_t width) const
{
    for (const Section& section : sections_)
        out << text::toUtf8(section.title) << "\n\n" << formatTable(section.rows, width) << '\n';
    if (clean()) {
        out << "No findings.\n";
        return;
    }
    std::vector<Row> rows{{u"", u"Finding", u"What to do"}};
    for (const Finding& finding : findings_)
        rows.push_back({text::decimal(static_cast<std::int64_t>(rows.size())), finding.what, finding.advice});
    out << formatTable(rows, width);
}

} // namespace vqloan::client
