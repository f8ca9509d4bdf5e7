// What an answer says, for programs: found by the site's texts.
#pragma once

#include <map>
#include <string>

#include "Answer.h"
#include "Site.h"

namespace vqloan::client {

// Where two messages have the same text, the situation that wins over the other counts.
class Situations
{
public:
    // Reads the texts that are in force for that kind. Throws std::runtime_error where a settings file cannot
    // be read.
    Situations(const Site& site, Kind kind);

    // Sets the answer's status and date, and its outcome where that is a time-out.
    void judge(Answer& answer) const;

private:
    std::string_view statusOf(const Answer& answer) const;
    std::string_view find(std::u16string_view text) const;

    Kind kind_;
    std::map<std::u16string, std::string_view, std::less<>> texts_; // without the blanks at their ends
    std::u16string inFront_;                                        // of a special status without a text
    std::u16string timeOut_;                                        // of this kind; empty: none can be told
};

} // namespace vqloan::client
