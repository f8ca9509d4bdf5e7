#include "Parameters.h"

#include <stdexcept>
#include <utility>

#include "Input.h"
#include "platform/program/Paths.h"
#include "platform/runtime/Text.h"
#include "site/HostFile.h"

namespace vqloan::client {

Parameters::Parameters(const Site& site) : Parameters(site.parameters(), readFile(site.parameters())) {}

Parameters::Parameters(std::filesystem::path file, std::string_view contents) : file_(std::move(file))
{
    const std::u16string all = text::fromCodePage(contents);
    for (std::size_t at = 0; at < all.size();) {
        const auto end = std::min(all.find(u'\r', at), all.size());
        lines_.push_back(all.substr(at, end - at));
        at = end + (all.compare(end, 2, u"\r\n") == 0 ? 2 : 1);
    }
}

std::u16string Parameters::value(std::size_t line) const
{
    if (line > lines_.size())
        return {};
    const std::u16string_view all = text::trim(lines_[line - 1]);
    return std::u16string(site::valueOf(all));
}

std::filesystem::path Parameters::exchangeDirectory() const
{
    const std::u16string directory = value(site::Line::directory);
    if (directory.empty())
        throw std::runtime_error("line 3 of " + program::utf8Of(file_) + " names no exchange directory");
    return directory;
}

} // namespace vqloan::client
