// What `vqloan check` has to say: facts by section, then findings, each with what to do about it.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "Table.h"

namespace vqloan::client {

// Where something is wrong.
struct Place
{
    std::u16string file;  // of the site, or a path
    std::size_t line = 0; // from 1; 0: none, or a line that is missing
    std::u16string key{}; // "[SECTION] KEY"; of a database, table and column
    bool operator==(const Place&) const = default;
};

class Report
{
public:
    // Facts that follow belong to this section, until the next one.
    void section(std::u16string title, Row heading);
    void fact(Row row);
    // Two kinds share settings: the same finding counts once.
    void finding(Place place, std::u16string what, std::u16string advice);

    std::size_t findings() const noexcept { return findings_.size(); }
    // For a person; lines are broken between words only.
    void print(std::ostream& out, std::size_t width) const;
    // For a program: one object, "sections" with their rows, and "findings".
    void printJson(std::ostream& out) const;

private:
    struct Section
    {
        std::u16string title;
        std::vector<Row> rows; // the heading in front
    };
    struct Finding
    {
        Place place;
        std::u16string what, advice;
        bool operator==(const Finding&) const = default;
    };
    std::vector<Section> sections_;
    std::vector<Finding> findings_;
};

} // namespace vqloan::client
