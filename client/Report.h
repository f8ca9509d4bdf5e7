// What `vqloan check` has to say: facts by section, then findings, each with what to do about it.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "Table.h"

namespace vqloan::client {

class Report
{
public:
    // Facts that follow belong to this section.
    void section(std::u16string title, Row heading);
    void fact(Row row);
    void finding(std::u16string what, std::u16string advice);

    bool clean() const noexcept { return findings_.empty(); }
    void print(std::ostream& out, std::size_t width) const;

private:
    struct Section
    {
        std::u16string title;
        std::vector<Row> rows;
    };
    struct Finding
    {
        std::u16string what, advice;
    };
    std::vector<Section> sections_;
    std::vector<Finding> findings_;
};

} // namespace vqloan::client
