// GET /: the page for the desk.
#pragma once

#include "http/Http.h"

namespace vqloan::client::http {

// Its scripts and styles are those that bear the answer's own nonce, and nothing else is loaded by it.
Response page();

} // namespace vqloan::client::http
