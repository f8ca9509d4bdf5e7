#include "platform/runtime/TextFiles.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/runtime/OsFile.h"
#include "platform/runtime/PerThread.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::files {
namespace {

constexpr std::int32_t highestNumber = 511;
constexpr std::size_t readSize = 8 * 1024;   // parameter and answer files come in one piece
constexpr std::size_t writeSize = 64 * 1024; // as much as is kept back

// Files that could not be deleted, as they were then. Normally there is none.
using Undeleted = std::map<std::u16string, os::FileState, std::less<>>;

class TextFile
{
public:
    TextFile(os::File file, os::File::Mode mode, Place place)
        : file_(std::move(file)), mode_(mode), place_(place)
    {}

    std::u16string_view readLine()
    {
        if (atEnd())
            throw RuntimeError(Failure::InputPastEnd);
        const std::string_view piece = takePiece();
        if (afterCr_) { // usually the line is here whole, and needs no copy
            text::fromCodePage(piece, line_);
        } else {
            std::string pieces(piece);
            while (!afterCr_ && fill()) {
                pieces += takePiece();
                if (place_ == Place::shared && pieces.size() > longestSharedLine)
                    throw RuntimeError(Failure::Overflow);
            }
            text::fromCodePage(pieces, line_);
        }
        return line_;
    }

    bool atEnd()
    {
        require(os::File::Mode::Read);
        if (!fill())
            return true;
        // Looked at here and not with the CR, so that no line costs a read of what comes after it.
        if (std::exchange(afterCr_, false) && unread_.front() == '\n')
            unread_.remove_prefix(1);
        return !fill();
    }

    void writeLine(std::string_view line)
    {
        require(os::File::Mode::Write);
        unwritten_ += line;
        unwritten_ += "\r\n";
        if (unwritten_.size() >= writeSize)
            flush();
    }

    void close()
    {
        if (mode_ == os::File::Mode::Write)
            flush();
        try {
            file_.close();
        } catch (const RuntimeError&) {
            // A request is out once it is written. Whoever gave it up for this failure would take its answer
            // for that of the next one; and if it did not arrive, that no answer comes tells it.
            if (mode_ != os::File::Mode::Write || place_ != Place::shared)
                throw;
        }
    }

private:
    void require(os::File::Mode mode) const
    {
        if (mode_ != mode)
            throw RuntimeError(Failure::BadFileMode);
    }

    // False when the file has no more bytes.
    bool fill()
    {
        if (!unread_.empty())
            return true;
        if (ended_)
            return false;
        if (!space_)
            space_ = std::make_unique_for_overwrite<char[]>(readSize);
        unread_ = {space_.get(), file_.read(space_.get(), readSize)};
        ended_ = unread_.empty();
        return !ended_;
    }

    // What is unread up to the next CR, which is taken too, or all of it.
    std::string_view takePiece()
    {
        const std::string_view piece = unread_.substr(0, unread_.find('\r'));
        unread_.remove_prefix(piece.size());
        afterCr_ = !unread_.empty();
        unread_.remove_prefix(afterCr_ ? 1 : 0);
        return piece;
    }

    void flush()
    {
        // What could not be written is not tried again.
        const std::string bytes = std::exchange(unwritten_, {});
        file_.write(bytes);
    }

    os::File file_;
    os::File::Mode mode_;
    Place place_;
    std::unique_ptr<char[]> space_; // not cleared: most files fill little of it
    std::string_view unread_;       // in that space
    std::u16string line_;           // the last one read
    std::string unwritten_;
    bool ended_ = false;
    bool afterCr_ = false; // an LF that follows belongs to it
};

using OpenFiles = std::map<std::int32_t, TextFile>;

OpenFiles& openFiles()
{
    return perThread<OpenFiles>();
}

void requireFree(std::int32_t number)
{
    if (number < 1 || number > highestNumber)
        throw RuntimeError(Failure::BadFileNumber);
    if (openFiles().contains(number))
        throw RuntimeError(Failure::FileAlreadyOpen);
}

void open(std::int32_t number, std::u16string_view path, os::File::Mode mode, Place place)
{
    requireFree(number);
    openFiles().try_emplace(number, os::File(path, mode, place), mode, place);
}

TextFile& fileOf(std::int32_t number)
{
    const auto file = openFiles().find(number);
    if (file == openFiles().end())
        throw RuntimeError(Failure::BadFileNumber);
    return file->second;
}

} // namespace

std::int32_t freeNumber()
{
    std::int32_t number = 1;
    while (openFiles().contains(number))
        ++number;
    if (number > highestNumber)
        throw RuntimeError(Failure::TooManyFiles);
    return number;
}

void openForReading(std::int32_t number, std::u16string_view path, Place place)
{
    open(number, path, os::File::Mode::Read, place);
}

bool tryOpenForReading(std::int32_t number, std::u16string_view path)
{
    try {
        requireFree(number);
        if (isSpent(path))
            return false;
        std::optional<os::File> file = os::File::tryOpen(path);
        return file &&
               openFiles().try_emplace(number, std::move(*file), os::File::Mode::Read, Place::shared).second;
    } catch (const RuntimeError&) {
        return false;
    }
}

void openForWriting(std::int32_t number, std::u16string_view path, Place place)
{
    open(number, path, os::File::Mode::Write, place);
}

std::u16string_view readLine(std::int32_t number)
{
    return fileOf(number).readLine();
}

bool atEnd(std::int32_t number)
{
    return fileOf(number).atEnd();
}

void writeLine(std::int32_t number, std::u16string_view line)
{
    fileOf(number).writeLine(text::toCodePage(line));
}

void close(std::int32_t number)
{
    OpenFiles::node_type file = openFiles().extract(number);
    if (!file.empty())
        file.mapped().close();
}

void closeAll() noexcept
{
    OpenFiles files;
    try {
        files.swap(openFiles());
    } catch (...) { // this thread has opened none yet, and has no memory for their list
        return;
    }
    for (auto& [number, file] : files) {
        try {
            file.close();
        } catch (...) { // it is closed all the same, and there is nobody to tell
        }
    }
}

void remove(std::u16string_view path)
{
    try {
        os::removeFile(path);
    } catch (const RuntimeError& error) {
        if (error.number != static_cast<std::int32_t>(Failure::FileNotFound))
            if (const auto state = os::stateOf(path))
                perThread<Undeleted>()[std::u16string(path)] = *state;
        throw;
    }
}

bool isSpent(std::u16string_view path)
{
    Undeleted& undeleted = perThread<Undeleted>();
    const auto found = undeleted.empty() ? undeleted.end() : undeleted.find(path);
    if (found == undeleted.end())
        return false;
    try {
        const bool same = os::stateOf(path) == found->second;
        if (same)
            os::removeFile(path);
        undeleted.erase(found);
        return same;
    } catch (const RuntimeError&) { // it still cannot be deleted
        return true;
    }
}

} // namespace vqloan::files
