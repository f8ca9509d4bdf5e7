// The sample site's libraries and copies: a network of twelve libraries with copies in every situation. The
// same number of copies on the same day is the same network.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vqloan::client::sample {

// Texts are UTF-8; the names are those of the tables and columns of the library database.
struct Library
{
    const char *code, *name, *keepsLoans; // CODBIB, DESCR, FLGMOVIM
};
std::span<const Library> libraries();

struct Status
{
    const char *code, *text; // CODBLOCMAT, MESSAGGIO
};
std::span<const Status> statuses();

struct Loan
{
    std::string lent, due; // DATA, DATA_SCAD
    int reminders = 0;     // LIVSOLL
    bool closed = false;   // FLGCHIUSO
};

struct Copy
{
    const char* library = "";  // CODBIB
    std::string number;        // INVENTARIO
    const char* status = "0";  // STATO
    const char* service = "S"; // FLGSERV
    std::string shelf;         // COLLOCAZIONE
    std::vector<Loan> loans;
    std::string_view situation;
    std::string_view hostText; // what the legacy host says of it

    // The number on the copy itself, which has two letters more than the database.
    std::string label() const { return std::string("KA").append(number); }
    std::string requestLine() const
    {
        return std::string(library).append("\t").append(shelf).append("\t").append(label()).append("\t");
    }
};
std::vector<Copy> copies(std::size_t count, std::chrono::year_month_day today);

// The table of `vqloan host` for these copies.
std::string hostTable(std::span<const Copy> copies);
// Request lines for all copies, and for one in each situation and one that nobody holds.
std::string allRequests(std::span<const Copy> copies);
std::string requestsForEachSituation(std::span<const Copy> copies);

} // namespace vqloan::client::sample
