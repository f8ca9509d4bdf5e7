// CLIENT.PAR of a site, as the component reads it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Site.h"

namespace vqloan::client {

class Parameters
{
public:
    // Throws std::runtime_error when the file cannot be read.
    explicit Parameters(const Site& site);
    // Of a file that has been read.
    Parameters(std::filesystem::path file, std::string_view contents);

    // Lines end in CR, or CR LF; a lone LF is part of its line.
    const std::vector<std::u16string>& lines() const noexcept { return lines_; }
    // What follows the first "=" of a line (from 1), blanks in front kept; the whole line when it has none,
    // the empty text when there is no such line.
    std::u16string value(std::size_t line) const;
    std::u16string value(site::Line line) const { return value(static_cast<std::size_t>(line)); }
    // Line 3. Throws std::runtime_error when it is empty.
    std::filesystem::path exchangeDirectory() const;

private:
    std::filesystem::path file_;
    std::vector<std::u16string> lines_;
};

} // namespace vqloan::client
