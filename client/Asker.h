// Asks a site's component for copies, and tells which answer is whose.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Answer.h"
#include "Component.h"
#include "Situations.h"

namespace vqloan::client {

// Lives on one thread.
class Asker
{
public:
    // Throws std::runtime_error when the back end cannot be opened.
    Asker(const Site& site, Kind kind);

    // The answers of these request lines, in their order, each with its status and, for a line that failed,
    // what the component recorded. Throws std::runtime_error when the call itself fails.
    std::vector<Answer> ask(const std::vector<std::u16string>& lines);

    // The component's own text for these lines in its own order, with the own library's in front.
    struct Text
    {
        std::u16string lines;
        std::vector<Answer> answers; // in the text's order
    };
    Text askAsOne(const std::vector<std::u16string>& lines);
    void setOwnLibrary(std::string_view library) { component_.setOwnLibrary(library); }

    // The most lines to ask at once: as many as one call takes, and of kinds whose lines cost an exchange
    // each, one, so that an answer is told as soon as it is there.
    std::size_t mostAtOnce() const noexcept;
    std::size_t mostAsOne() const noexcept;

private:
    void askBlock(const std::vector<std::u16string>& lines, std::size_t first, std::size_t last,
                  std::vector<Answer>& answers);
    Answer askLine(const std::u16string& line);
    void askFailedAgain(const std::vector<std::u16string>& lines, std::vector<Answer>& answers);
    Answer judged(std::u16string_view line) const;

    Kind kind_;
    Component component_;
    Situations situations_;
};

} // namespace vqloan::client
