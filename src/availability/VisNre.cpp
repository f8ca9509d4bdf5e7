#include <optional>

#include "availability/OtherGroup.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "external/SysTools.h"
#include "platform/runtime/Text.h"

// Request lines are "library code TAB shelf mark TAB inventory number TAB note", divided by CR LF. Answer
// lines, each ended by CR LF:
//
//   "7000"         library name TAB R TAB message TAB
//   "SQL", "SQL2"  item description TAB library TAB item description R TAB message TAB
//   any, failed    "Codice Bibl. " code TAB "Coll. " shelf mark ", Inv. " inventory number TAB what failed
//
// R is what the back end answers; for a library that the host may not be asked about, a fixed text.

namespace vqloan {

namespace {

using site::Kind;
using site::lineEnd;
using site::tab;

struct Item
{
    std::u16string library;
    std::u16string_view shelfMark;
    std::u16string inventory;
    std::u16string_view note;
};

Item itemOf(std::u16string_view line)
{
    const auto field = [line](int number) { return DispSvr::GetField(line, tab, number); };
    return {.library = std::u16string(text::trim(field(1))),
            .shelfMark = text::trim(field(2)),
            .inventory = text::upper(text::trim(field(3))),
            .note = field(4)};
}

std::u16string describe(const Item& item)
{
    std::u16string description;
    const auto add = [&](std::u16string_view label, std::u16string_view value) {
        if (!value.empty())
            DispSvr::AddField(description, std::u16string(label).append(value), site::describedSeparator);
    };
    add(site::shelfMarkLabel, item.shelfMark);
    add(site::inventoryLabel, item.inventory);
    add(u"", item.note);
    return description;
}

// What the library code check says of a line for the legacy host.
struct Checked
{
    std::u16string name; // of the library: the line begins with it and is ordered by it
    std::u16string message;
    bool skipped = false; // answered without asking the host
};

Checked check(const DispSvr& svr, const Item& item)
{
    Checked library;
    library.name = svr.TestCodBib(item.library);
    if (library.name.empty()) {
        library.message = site::notListed;
        library.skipped = true;
    } else if (library.name.starts_with(site::skippedMark)) {
        library.name.erase(0, site::skippedMark.size());
        library.message = svr.SkipText;
        library.skipped = true;
    }
    if (library.name.empty())
        library.name = item.library;
    return library;
}

std::u16string failureLine(const Item& item, std::u16string_view failure)
{
    std::u16string line(site::failedLabel);
    line.append(item.library).append(tab).append(site::shelfMarkLabel).append(item.shelfMark);
    line.append(site::describedSeparator).append(site::inventoryLabel).append(item.inventory);
    line.append(tab).append(failure.substr(1));
    return line;
}

class Answer
{
public:
    explicit Answer(DispSvr& svr) : svr_(svr) {}

    // Answers one request line and places the answer. RuntimeError 6 when the number of the line, or a
    // position in the text of the other libraries' lines, would pass 32,767.
    void add(std::u16string_view requestLine)
    {
        // Kept for the whole line: while the host is waited for, another call may enter and change DBType.
        const auto kind = static_cast<Kind>(svr_.DBType);
        Item item = itemOf(requestLine);
        if (kind == Kind::host)
            addHostLine(item);
        else
            place(item, answerLine(item, kind));
        ++number_;
    }

    std::u16string text() const
    {
        std::u16string whole;
        whole.reserve(ownSize_ + others_.size());
        for (auto line = own_.rbegin(); line != own_.rend(); ++line)
            whole.append(*line).append(lineEnd);
        others_.appendTo(whole);
        return whole;
    }

private:
    void addHostLine(Item& item)
    {
        const Checked library = check(svr_, item);
        // First: where there is no place left, the host is not asked.
        std::optional<OtherGroup::Place> searched;
        if (!isOwn(item))
            searched = others_.search(library.name, number_);

        std::u16string line = library.name + tab.front();
        if (library.skipped) {
            line.append(site::notVerifiable).append(tab).append(library.message).append(tab);
        } else {
            const std::u16string answer = svr_.CallDB(item.inventory, item.library);
            if (site::isFailure(answer))
                line = failureLine(item, answer);
            else
                line.append(answer).append(tab).append(tab);
        }
        if (isOwn(item))
            addOwn(std::move(line));
        else // BibPosse may have changed while the host was waited for
            others_.insert(searched ? *searched : others_.search(library.name, number_), std::move(line));
    }

    std::u16string answerLine(Item& item, Kind kind)
    {
        const std::u16string description = describe(item);
        const std::u16string answer = svr_.CallDB(item.inventory, item.library);
        if (site::isFailure(answer))
            return failureLine(item, answer);
        std::u16string line;
        if (kind == Kind::gateway || kind == Kind::database) {
            line.reserve(2 * description.size() + item.library.size() + answer.size() + 4);
            line.append(description).append(tab).append(item.library).append(tab);
            line.append(description).append(answer);
        }
        return line.append(tab).append(tab);
    }

    void place(const Item& item, std::u16string line)
    {
        if (isOwn(item))
            addOwn(std::move(line));
        else
            others_.append(line);
    }

    // To be asked again after the back end has answered, which may have replaced the code.
    bool isOwn(const Item& item) const { return DispSvr::SameText(item.library, svr_.BibPosse); }

    void addOwn(std::u16string line)
    {
        ownSize_ += line.size() + lineEnd.size();
        own_.push_back(std::move(line));
    }

    DispSvr& svr_;
    Int16 number_ = 1;
    std::vector<std::u16string> own_; // the last one comes first in the answer
    std::size_t ownSize_ = 0;
    OtherGroup others_;
};

} // namespace

std::u16string DispSvr::VisNre(std::u16string_view Buf)
{
    try {
        const OneState forAllLines;
        Answer answer(*this);
        while (!Buf.empty()) {
            Int16 firstLine = 0; // taken off the request
            answer.add(GetField(Buf, lineEnd, firstLine));
        }
        return answer.text();
    } catch (...) {
        recordFailure(shortSource, u".VisNre");
    }
    sysTools().AfterError();
    return {};
}

} // namespace vqloan
