// An answer as programs read it.
#pragma once

#include <string>
#include <string_view>

#include "Answer.h"

namespace vqloan::client {

// One object on one line, without a line end: the request, what came of it ("outcome", "status"), the library
// and the text for the reader, the date of a loan, what the component recorded of a failure, the answer's own
// fields.
std::string toJson(std::u16string_view request, const Answer& answer);
// The same as a record of comma-separated values, without a line end; and the record of the names.
std::string toCsv(std::u16string_view request, const Answer& answer);
std::string csvHeading();

} // namespace vqloan::client
