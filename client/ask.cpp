// vqloan ask: request lines in, answers out.
#include <chrono>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>

#include "Answer.h"
#include "Commands.h"
#include "Component.h"
#include "Input.h"
#include "Json.h"
#include "Table.h"
#include "platform/runtime/Text.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

struct Counts
{
    std::size_t answered = 0, skipped = 0, failed = 0;

    void add(Outcome outcome)
    {
        ++(outcome == Outcome::answer ? answered : outcome == Outcome::skipped ? skipped : failed);
    }
};

// --- Requests ---

// Empty lines are passed over.
std::vector<std::u16string> requestLines(const AskOptions& options)
{
    const bool single = !(options.library + options.shelf + options.inventory + options.note).empty();
    if (single && !options.file.empty())
        throw std::runtime_error("either a file or one copy can be asked about, not both");
    if (single)
        return {text::fromUtf8(options.library + '\t' + options.shelf + '\t' + options.inventory + '\t' +
                               options.note)};
    const bool standardInput = options.file.empty() || options.file == "-";
    std::string bytes = standardInput ? readStandardInput() : readFile(options.file);
    if (!text::isUtf8(bytes))
        throw std::runtime_error("the request is not UTF-8");
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.erase(0, 3);
    std::vector<std::u16string> lines;
    for (auto& line : split(text::fromUtf8(bytes), u"\n")) {
        if (line.ends_with(u'\r'))
            line.pop_back();
        if (!line.empty())
            lines.push_back(std::move(line));
    }
    return lines;
}

// --- Progress ---

// A bar on the terminal that errors go to, once the asking takes time; nothing elsewhere.
class Progress
{
public:
    explicit Progress(std::size_t total)
        : total_(total), shown_(program::terminalColumns(program::Stream::errors) > 0)
    {}
    ~Progress() { clear(); }

    void at(std::size_t done)
    {
        const auto now = Clock::now();
        if (!shown_ || now < next_)
            return;
        next_ = now + std::chrono::milliseconds(100);
        constexpr std::size_t width = 40;
        const std::size_t filled = width * done / total_;
        std::cerr << "\r[" << std::string(filled, '=') << std::string(width - filled, ' ') << "] " << done
                  << '/' << total_ << std::flush;
        drawn_ = true;
    }
    void clear()
    {
        if (drawn_)
            std::cerr << "\r\x1B[K" << std::flush;
        drawn_ = false;
    }

private:
    using Clock = std::chrono::steady_clock;
    std::size_t total_;
    bool shown_, drawn_ = false;
    Clock::time_point next_ = Clock::now() + std::chrono::milliseconds(500);
};

// --- Asking ---

// Whether the component recorded why a line failed. What it recorded for an earlier line stays, and so must
// not be looked at for a message that the gateway sent, or for a line without an inventory number.
bool isRecorded(Kind kind, std::u16string_view message)
{
    switch (kind) {
    case Kind::database:
        return message.starts_with(site::databaseFailed);
    case Kind::gateway:
        return message == site::gatewayFailed;
    case Kind::host:
        return message.empty();
    case Kind::none:
        break;
    }
    return false;
}

// Lines are asked one by one: within one call the component moves the lines of its own library to the front
// and sorts those of the "7000" back end, and an answer does not always tell which line it belongs to.
Answer askLine(Component& component, Kind kind, const std::u16string& request,
               std::optional<Failure>& recorded)
{
    const std::u16string block = component.answer(request + std::u16string(site::lineEnd));
    Answer answer;
    if (block.ends_with(site::lineEnd))
        answer = takeApart(kind, std::u16string_view(block).substr(0, block.size() - 2));
    if (answer.outcome != Outcome::failure)
        return answer;
    if (block.empty() || isRecorded(kind, answer.availability))
        recorded = component.lastFailure();
    if (answer.availability.empty())
        answer.availability = recorded ? text::fromUtf8(recorded->description) : u"no answer";
    return answer;
}

class Printer
{
public:
    virtual ~Printer() = default;
    virtual void line(const std::vector<std::u16string>& request, const Answer& answer) = 0;
    virtual void end(const Counts& counts) = 0;
};

class TablePrinter : public Printer
{
public:
    void line(const std::vector<std::u16string>& request, const Answer& answer) override
    {
        const auto field = [&](std::size_t i) { return i < request.size() ? request[i] : std::u16string(); };
        const std::u16string mark = answer.outcome == Outcome::failure ? u"FAILED: " : u"";
        rows_.push_back({field(0), answer.library == field(0) ? u"" : answer.library, field(1), field(2),
                         mark + answer.availability});
    }
    void end(const Counts& counts) override
    {
        const int columns = program::terminalColumns(program::Stream::output);
        std::cout << formatTable(rows_, columns > 0 ? static_cast<std::size_t>(columns) : 80) << '\n'
                  << counts.answered << " answered, " << counts.skipped << " skipped, " << counts.failed
                  << " failed\n";
    }

private:
    std::vector<Row> rows_{{u"Code", u"Library", u"Shelf mark", u"Inventory", u"Availability"}};
};

class JsonPrinter : public Printer
{
public:
    void line(const std::vector<std::u16string>& request, const Answer& answer) override
    {
        constexpr const char* names[] = {"library", "shelf", "inventory", "note"};
        std::cout << (first_ ? "[\n" : ",\n") << "{\"request\": {";
        first_ = false;
        for (std::size_t i = 0; i < std::size(names); ++i)
            std::cout << (i ? ", \"" : "\"") << names[i]
                      << "\": " << jsonText(i < request.size() ? request[i] : u"");
        std::cout << "}, \"outcome\": \"" << outcomeName(answer.outcome)
                  << "\", \"library\": " << jsonText(answer.library)
                  << ", \"availability\": " << jsonText(answer.availability) << ", \"fields\": [";
        for (std::size_t i = 0; i < answer.fields.size(); ++i)
            std::cout << (i ? ", " : "") << jsonText(answer.fields[i]);
        std::cout << "]}";
    }
    void end(const Counts&) override { std::cout << (first_ ? "[]\n" : "\n]\n"); }

private:
    static const char* outcomeName(Outcome outcome)
    {
        return outcome == Outcome::answer ? "answer" : outcome == Outcome::skipped ? "skipped" : "failure";
    }
    bool first_ = true;
};

Counts askEach(Component& component, Kind kind, const std::vector<std::u16string>& requests, Printer& printer)
{
    Counts counts;
    Progress progress(requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        progress.at(i);
        std::optional<Failure> recorded;
        const Answer answer = askLine(component, kind, requests[i], recorded);
        counts.add(answer.outcome);
        if (answer.outcome == Outcome::failure) {
            progress.clear();
            std::cerr << "vqloan: request " << i + 1 << ": "
                      << (recorded ? recorded->text() : text::toUtf8(answer.availability)) << '\n';
        }
        printer.line(split(requests[i], site::tab), answer);
    }
    progress.clear();
    printer.end(counts);
    return counts;
}

// --- Asking in blocks, for the component's answer as it is ---

// The most lines that one call takes. The component sorts the lines of the "7000" back end within 32,767
// characters.
std::size_t blockSize(Kind kind)
{
    return kind == Kind::host ? 200 : 32766;
}

void count(Kind kind, std::u16string_view block, Counts& counts)
{
    for (const auto& line : split(block.substr(0, block.size() - 2), site::lineEnd))
        counts.add(takeApart(kind, line).outcome);
}

// A block that fails as a whole is asked again in halves, down to the line that cannot be asked.
void askBlock(Component& component, Kind kind, const std::vector<std::u16string>& requests, std::size_t first,
              std::size_t last, Counts& counts)
{
    std::u16string block;
    for (std::size_t i = first; i < last; ++i)
        block.append(requests[i]).append(site::lineEnd);
    const std::u16string answer = component.answer(block);
    if (!answer.empty()) {
        std::cout << text::toUtf8(answer);
        count(kind, answer, counts);
    } else if (last - first > 1) {
        const std::size_t middle = first + (last - first) / 2;
        askBlock(component, kind, requests, first, middle, counts);
        askBlock(component, kind, requests, middle, last, counts);
    } else {
        ++counts.failed;
        std::cerr << "vqloan: request " << first + 1 << ": " << component.lastFailure().text() << '\n';
    }
}

Counts askInBlocks(Component& component, Kind kind, const std::vector<std::u16string>& requests)
{
    Counts counts;
    Progress progress(requests.size());
    const std::size_t size = blockSize(kind);
    for (std::size_t first = 0; first < requests.size(); first += size) {
        progress.at(first);
        askBlock(component, kind, requests, first, std::min(first + size, requests.size()), counts);
    }
    progress.clear();
    if (counts.failed > 0)
        std::cerr << "vqloan: " << counts.failed << " of " << requests.size() << " lines failed\n";
    return counts;
}

} // namespace

int ask(const AskOptions& options)
{
    const auto requests = requestLines(options);
    const Kind kind = site::kindNamed(text::fromUtf8(options.kind));
    const Site site(options.site);
    Component component(site);
    if (!component.open(options.kind))
        throw std::runtime_error("the back end cannot be opened: " + component.lastFailure().text() +
                                 "\n`vqloan check --kind " + options.kind + "` tells what to do about it");
    if (options.own)
        component.setOwnLibrary(*options.own);

    std::string format = options.format;
    if (format.empty())
        format = program::terminalColumns(program::Stream::output) > 0 ? "table" : "raw";
    Counts counts;
    if (format == "raw") {
        counts = askInBlocks(component, kind, requests);
    } else {
        const std::unique_ptr<Printer> printer =
            format == "json" ? std::unique_ptr<Printer>(new JsonPrinter) : std::make_unique<TablePrinter>();
        counts = askEach(component, kind, requests, *printer);
    }
    return counts.failed == 0 ? allWell : someFailed;
}

} // namespace vqloan::client
