// vqloan ask: request lines in, answers out.
#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include "AnswerJson.h"
#include "Asker.h"
#include "Commands.h"
#include "Log.h"
#include "Requests.h"
#include "Table.h"
#include "Turn.h"
#include "platform/program/Program.h"
#include "platform/runtime/Text.h"
#include "site/Messages.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

// --- What is told on standard error ---

// A bar on the terminal that errors go to, once the asking takes time; nothing where the answers go there
// too.
class Progress
{
public:
    explicit Progress(const Requests& requests)
        : requests_(requests), shown_(program::terminalColumns(program::Stream::errors) > 0 &&
                                      program::terminalColumns(program::Stream::output) == 0)
    {}
    ~Progress() { clear(); }

    void at(std::size_t done)
    {
        const auto now = Clock::now();
        if (!shown_ || now < next_)
            return;
        next_ = now + std::chrono::milliseconds(100);
        constexpr std::size_t width = 40;
        std::cerr << '\r';
        if (const auto share = requests_.share()) {
            const auto filled = static_cast<std::size_t>(width * *share);
            std::cerr << '[' << std::string(filled, '=') << std::string(width - filled, ' ') << "] ";
        }
        std::cerr << done << " asked" << std::flush;
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
    const Requests& requests_;
    bool shown_, drawn_ = false;
    Clock::time_point next_ = Clock::now() + std::chrono::milliseconds(500);
};

// Equal failures once, when they begin; how many there were, at the end.
class Complaints
{
public:
    void add(std::size_t request, const std::string& text)
    {
        constexpr std::size_t mostKinds = 100;
        const bool isKnown = counts_.contains(text) || counts_.size() < mostKinds;
        if (counts_[isKnown ? text : "other failures"]++ == 0)
            std::cerr << "vqloan: request " << request << ": " << printable(text) << '\n';
    }
    void end() const
    {
        for (const auto& [text, count] : counts_)
            if (count > 1)
                std::cerr << "vqloan: " << count << " requests: " << printable(text) << '\n';
    }

private:
    std::map<std::string, std::size_t> counts_;
};

struct Counts
{
    std::size_t byOutcome[4] = {};

    std::size_t& of(Outcome outcome) { return byOutcome[static_cast<std::size_t>(outcome)]; }
    std::string text()
    {
        std::string all = std::to_string(of(Outcome::answer)) + " answered, " +
                          std::to_string(of(Outcome::skipped)) + " skipped, ";
        if (of(Outcome::timeout) > 0)
            all += std::to_string(of(Outcome::timeout)) + " timed out, ";
        return all + std::to_string(of(Outcome::failure)) + " failed";
    }
};

// --- What goes to standard output ---

class Printer
{
public:
    virtual ~Printer() = default;
    virtual void line(std::u16string_view request, const Answer& answer) = 0;
    virtual void end(Counts&) {}
};

class TablePrinter : public Printer
{
public:
    void line(std::u16string_view request, const Answer& answer) override
    {
        auto fields = split(request, site::tab);
        fields.resize(4);
        const std::u16string_view mark = answer.outcome == Outcome::failure   ? u"FAILED: "
                                         : answer.outcome == Outcome::timeout ? u"NO ANSWER: "
                                                                              : u"";
        table_.add({fields[0], answer.library == fields[0] ? u"" : answer.library, fields[1], fields[2],
                    std::u16string(mark) + answer.availability});
    }
    void end(Counts& counts) override
    {
        table_.end();
        std::cout << '\n' << counts.text() << '\n';
    }

private:
    TableWriter table_{
        std::cout, {u"Code", u"Library", u"Shelf mark", u"Inventory", u"Availability"}, outputWidth()};
};

class JsonPrinter : public Printer
{
public:
    void line(std::u16string_view request, const Answer& answer) override
    {
        std::cout << (first_ ? "[\n" : ",\n") << toJson(request, answer);
        first_ = false;
    }
    void end(Counts&) override { std::cout << (first_ ? "[]\n" : "\n]\n"); }

private:
    bool first_ = true;
};

class JsonLinesPrinter : public Printer
{
public:
    void line(std::u16string_view request, const Answer& answer) override
    {
        std::cout << toJson(request, answer) << '\n';
    }
};

class CsvPrinter : public Printer
{
public:
    CsvPrinter() { std::cout << csvHeading() << "\r\n"; }
    void line(std::u16string_view request, const Answer& answer) override
    {
        std::cout << toCsv(request, answer) << "\r\n";
    }
};

// The component's own text.
class RawPrinter : public Printer
{
public:
    void line(std::u16string_view, const Answer& answer) override
    {
        for (std::size_t i = 0; i < answer.fields.size(); ++i)
            std::cout << (i ? "\t" : "") << text::toUtf8(answer.fields[i]);
        if (!answer.fields.empty())
            std::cout << "\r\n";
    }
};

std::unique_ptr<Printer> makePrinter(const std::string& format)
{
    if (format == "table")
        return std::make_unique<TablePrinter>();
    if (format == "json")
        return std::make_unique<JsonPrinter>();
    if (format == "ndjson")
        return std::make_unique<JsonLinesPrinter>();
    if (format == "csv")
        return std::make_unique<CsvPrinter>();
    return std::make_unique<RawPrinter>();
}

// --- Asking ---

class Asking
{
public:
    Asking(Asker& asker, Requests& requests, Printer& printer)
        : asker_(asker), requests_(requests), printer_(printer)
    {}

    // In the order of the requests, each answer told as soon as it is there.
    Counts inOrder()
    {
        Progress progress(requests_);
        for (auto block = next(asker_.mostAtOnce()); !block.empty(); block = next(asker_.mostAtOnce())) {
            progress.at(asked_);
            const auto answers = asker_.ask(linesOf(block));
            progress.clear();
            for (std::size_t i = 0; i < block.size(); ++i)
                tell(block[i].number, block[i].line, answers[i]);
            flush();
        }
        return end();
    }

    // As the component orders them, in blocks as large as it takes.
    Counts inItsOrder()
    {
        Progress progress(requests_);
        for (auto block = wholeBlock(); !block.empty(); block = wholeBlock()) {
            progress.at(asked_);
            const Asker::Text text = asker_.askAsOne(linesOf(block));
            progress.clear();
            for (const Answer& answer : text.answers)
                tell(block.front().number, {}, answer);
            flush();
        }
        return end();
    }

private:
    // Without those that are refused.
    std::vector<Request> next(std::size_t most)
    {
        for (;;) {
            auto block = requests_.next(most);
            if (block.empty())
                return block;
            std::erase_if(block, [this](const Request& request) {
                if (request.refusal.empty())
                    return false;
                ++counts_.of(Outcome::failure);
                complaints_.add(request.number, request.refusal);
                return true;
            });
            asked_ += block.size();
            if (!block.empty())
                return block;
        }
    }
    std::vector<Request> wholeBlock()
    {
        const std::size_t size = asker_.mostAsOne();
        auto block = next(size);
        while (block.size() < size) {
            auto more = next(size - block.size());
            if (more.empty())
                break;
            std::ranges::move(more, std::back_inserter(block));
        }
        return block;
    }
    static std::vector<std::u16string> linesOf(const std::vector<Request>& block)
    {
        std::vector<std::u16string> lines;
        for (const Request& request : block)
            lines.push_back(request.line);
        return lines;
    }
    void tell(std::size_t number, std::u16string_view request, const Answer& answer)
    {
        ++counts_.of(answer.outcome);
        if (answer.outcome == Outcome::failure || answer.outcome == Outcome::timeout)
            complaints_.add(number,
                            answer.failure ? answer.failure->text() : text::toUtf8(answer.availability));
        printer_.line(request, answer);
    }
    static void flush()
    {
        if (!std::cout.flush())
            throw std::runtime_error("the output cannot be written");
    }
    Counts end()
    {
        printer_.end(counts_);
        complaints_.end();
        if (asked_ == 0 && counts_.of(Outcome::failure) > 0)
            throw std::runtime_error("nothing could be asked");
        return counts_;
    }

    Asker& asker_;
    Requests& requests_;
    Printer& printer_;
    Complaints complaints_;
    Counts counts_;
    std::size_t asked_ = 0;
};

} // namespace

int ask(const AskOptions& options)
{
    const Kind kind = options.kind;
    const Site site(options.site);
    Requests requests(options);
    const Turn turn(site, kind, std::chrono::seconds(options.wait));
    Asker asker(site, kind);

    std::string format = options.format;
    if (format.empty())
        format = program::terminalColumns(program::Stream::output) > 0 ? "table" : "raw";
    const bool inItsOrder = format == "raw" && (kind == Kind::host || options.own);
    if (inItsOrder && options.own)
        asker.setOwnLibrary(*options.own);
    const auto printer = makePrinter(format);
    Asking asking(asker, requests, *printer);
    Counts counts = inItsOrder ? asking.inItsOrder() : asking.inOrder();
    return counts.of(Outcome::failure) + counts.of(Outcome::timeout) == 0 ? allWell : someFailed;
}

} // namespace vqloan::client
