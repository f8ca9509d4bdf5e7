#include "http/Services.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "Input.h"
#include "Log.h"

namespace vqloan::client::http {

namespace {

template <class Row> std::string listed(const Row& rows, auto member)
{
    std::string all;
    for (const auto& row : rows)
        all.append(all.empty() ? "" : ", ").append(row.*member);
    return all;
}

site::Can canOf(const std::string& word)
{
    const auto* const found = std::ranges::find(site::canWords, word, &site::CanRow::word);
    if (found == std::end(site::canWords))
        throw std::runtime_error("no such word: " + printable(word) + "; expected are " +
                                 listed(site::canWords, &site::CanRow::word));
    return found->can;
}

} // namespace

Services::Services(const std::filesystem::path& file)
{
    for (const site::SituationRow& row : site::situations)
        std::ranges::copy(row.says, table_[std::string(row.status)].begin());
    if (file.empty())
        return;
    std::istringstream text(readFile(file));
    int number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        try {
            take(line.substr(0, line.find('#')));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(file.string() + ", line " + std::to_string(number) + ": " +
                                     error.what());
        }
    }
}

void Services::take(const std::string& line)
{
    std::istringstream text(line);
    const std::vector<std::string> words(std::istream_iterator<std::string>(text), {});
    if (words.empty())
        return;
    const auto row = table_.find(words[0]);
    if (row == table_.end())
        throw std::runtime_error("no such situation: " + printable(words[0]) + "; there are " +
                                 listed(site::situations, &site::SituationRow::status));
    if (words.size() != 1 + site::serviceCount)
        throw std::runtime_error(
            "expected are a situation and a word each for presentation, loan and interloan");
    std::transform(words.begin() + 1, words.end(), row->second.begin(), canOf);
}

const Services::Says& Services::of(std::string_view status) const
{
    const auto found = table_.find(status);
    return found == table_.end() ? table_.at(std::string(site::status::unknown)) : found->second;
}

} // namespace vqloan::client::http
