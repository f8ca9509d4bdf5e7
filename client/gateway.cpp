// vqloan gateway: answers an exchange directory for the "SQL" back end from a database, by the computation of
// the "SQL2" back end: it asks the component itself and takes the record out of its answer.
#include <memory>
#include <stdexcept>

#include "Answer.h"
#include "Commands.h"
#include "Component.h"
#include "Exchange.h"
#include "Settings.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

// An answer that starts with a TAB is a failure; the rest is its message.
std::u16string failure(std::u16string_view message)
{
    return std::u16string(u"\t").append(message);
}

// "WL,inventory,library": nothing in it is escaped, so a comma in the inventory number is only found by
// taking the library code from the end.
bool takeApart(std::u16string_view request, std::u16string& inventory, std::u16string& library)
{
    const auto comma = request.rfind(u',');
    if (!request.starts_with(u"WL,") || comma < 3 || request.find(u'\t') != request.npos)
        return false;
    inventory = request.substr(3, comma - 3);
    library = request.substr(comma + 1);
    return true;
}

class Gateway
{
public:
    explicit Gateway(const Site& site) : component_(site) { open(); }

    std::u16string answer(std::u16string_view request, bool whole)
    {
        std::u16string inventory, library;
        if (!whole || !takeApart(request, inventory, library))
            return failure(u"Richiesta non valida");
        if (!opened_)
            open();
        const std::u16string line = component_.answer(library + u"\t\t" + inventory + u"\t\r\n");
        const auto fields = split(line.substr(0, line.find(u"\r\n")), u"\t");
        if (fields.size() < 5) {
            // A failed line. A database that went away may be back for the next question.
            opened_ = false;
            return failure(fields.size() == 3 ? fields[2] : u"Nessuna risposta");
        }
        return recordOf(fields, library);
    }

private:
    void open()
    {
        opened_ = component_.open("SQL2");
        if (!opened_)
            throw std::runtime_error("the database cannot be opened: " + component_.lastFailure().text());
    }

    // The fields are: copy, the record's first, copy with the record's second, the record's others, two empty
    // ones.
    static std::u16string recordOf(const std::vector<std::u16string>& fields, const std::u16string& library)
    {
        // The record of a copy that is not held has an empty first field, which would make it a failure here.
        std::u16string record = fields[1].empty() ? library : fields[1];
        record += u'\t' + fields[2].substr(fields[0].size());
        for (std::size_t i = 3; i + 2 < fields.size(); ++i)
            record += u'\t' + fields[i];
        return record;
    }

    Component component_;
    bool opened_ = false;
};

} // namespace

int gateway(const ServeOptions& options)
{
    const Site site(options.site);
    const std::string path =
        options.exchange.empty() ? Settings(site).text("CONFIG", "PATH") : options.exchange;
    if (path.empty())
        throw std::runtime_error("[CONFIG] PATH is not set in " + site.settings().string() +
                                 ", and no --exchange is given");
    Exchange exchange(path, "ZSQL_", std::chrono::milliseconds(options.delay));
    Gateway gateway(site);
    exchange.serve(
        [&gateway](std::u16string_view request, bool whole) {
            try {
                return gateway.answer(request, whole);
            } catch (const std::exception& error) {
                return failure(text::fromUtf8(error.what()));
            }
        },
        options.verbose);
    return allWell;
}

} // namespace vqloan::client
