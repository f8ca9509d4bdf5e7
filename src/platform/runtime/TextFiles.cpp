#include "platform/runtime/TextFiles.h"

#include <array>
#include <memory>
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

class TextFile
{
public:
    TextFile(std::u16string_view path, os::File::Mode mode) : file_(path, mode), mode_(mode)
    {
        // Read here already: a directory opens like a file and fails only now.
        if (mode == os::File::Mode::Read)
            fill();
    }

    std::u16string readLine()
    {
        if (atEnd())
            throw RuntimeError(Failure::InputPastEnd);
        std::string line;
        while (fill()) {
            const std::string_view unread = std::string_view(buffer_).substr(at_);
            const auto end = unread.find('\r');
            const std::string_view piece = unread.substr(0, end);
            if (end != unread.npos) {
                at_ += end + 1;
                lineFeedMayFollow_ = true;
                // Usually the line is here whole, and needs no copy.
                return text::fromCodePage(line.empty() ? piece : line.append(piece));
            }
            line += piece;
            at_ = buffer_.size();
        }
        return text::fromCodePage(line);
    }

    bool atEnd()
    {
        require(os::File::Mode::Read);
        if (!fill())
            return true;
        // Looked at here and not with the CR, so that no line costs a read of what comes after it.
        if (std::exchange(lineFeedMayFollow_, false) && buffer_[at_] == '\n')
            ++at_;
        return !fill();
    }

    void writeLine(std::string_view line)
    {
        require(os::File::Mode::Write);
        buffer_ += line;
        buffer_ += "\r\n";
        if (buffer_.size() >= writeSize)
            flush();
    }

    void close()
    {
        if (mode_ == os::File::Mode::Write)
            flush();
        file_.close();
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
        if (at_ < buffer_.size())
            return true;
        if (ended_)
            return false;
        buffer_.resize(readSize);
        at_ = buffer_.size(); // nothing is left over when reading fails
        buffer_.resize(file_.read(buffer_.data(), buffer_.size()));
        at_ = 0;
        ended_ = buffer_.empty();
        return !ended_;
    }

    void flush()
    {
        // What could not be written is not tried again.
        const std::string bytes = std::exchange(buffer_, {});
        file_.write(bytes);
    }

    os::File file_;
    os::File::Mode mode_;
    std::string buffer_; // read and not taken yet, from at_ on; or to be written
    std::size_t at_ = 0;
    bool ended_ = false;
    bool lineFeedMayFollow_ = false;
};

struct Table
{
    std::array<std::unique_ptr<TextFile>, highestNumber + 1> files; // element 0 is not used
};

using Slot = std::unique_ptr<TextFile>;

// Null for a number that no file can have.
Slot* slotOf(std::int32_t number)
{
    if (number < 1 || number > highestNumber)
        return nullptr;
    return &perThread<Table>().files[static_cast<std::size_t>(number)];
}

void open(std::int32_t number, std::u16string_view path, os::File::Mode mode)
{
    Slot* slot = slotOf(number);
    if (!slot)
        throw RuntimeError(Failure::BadFileNumber);
    if (*slot)
        throw RuntimeError(Failure::FileAlreadyOpen);
    *slot = std::make_unique<TextFile>(path, mode);
}

TextFile& fileOf(std::int32_t number)
{
    Slot* slot = slotOf(number);
    if (!slot || !*slot)
        throw RuntimeError(Failure::BadFileNumber);
    return **slot;
}

} // namespace

std::int32_t freeNumber()
{
    for (std::int32_t number = 1; number <= highestNumber; ++number) {
        if (!*slotOf(number))
            return number;
    }
    throw RuntimeError(Failure::TooManyFiles);
}

void openForReading(std::int32_t number, std::u16string_view path)
{
    open(number, path, os::File::Mode::Read);
}

void openForWriting(std::int32_t number, std::u16string_view path)
{
    open(number, path, os::File::Mode::Write);
}

std::u16string readLine(std::int32_t number)
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
    Slot* slot = slotOf(number);
    if (slot && *slot)
        std::exchange(*slot, nullptr)->close();
}

void closeAll() noexcept
{
    for (Slot& slot : perThread<Table>().files) {
        if (!slot)
            continue;
        try {
            std::exchange(slot, nullptr)->close();
        } catch (...) {
            // The file is closed all the same, and there is nobody to tell.
            continue;
        }
    }
}

bool exists(std::u16string_view path)
{
    return os::stateOf(path).has_value();
}

void remove(std::u16string_view path)
{
    os::removeFile(path);
}

} // namespace vqloan::files
