// GET and POST /availability: the objects of `vqloan ask --format ndjson`.
#pragma once

#include "http/Http.h"
#include "http/Workers.h"

namespace vqloan::client::http {

// GET: the parameters library and inventory, and shelf and note where they are given, each as often as the
// others. POST: request lines in UTF-8. Each answer is sent as soon as those before it are; lines that the
// back end has not answered by the deadline are told as failures. Throws Refusal.
Response availability(const Request& request, Workers& workers, Clock::time_point deadline);

} // namespace vqloan::client::http
