// UTF-8 in and out, whatever the code pages of the system and of its consoles are.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <iostream>
#include <streambuf>
#include <string>

#include "platform/program/Paths.h"
#include "platform/program/Program.h"

namespace vqloan::program {

namespace {

// How many of the bytes are whole characters: all but the beginning of one at the end.
std::size_t wholeCharacters(const std::string& bytes)
{
    std::size_t start = bytes.size();
    while (start > 0 && bytes.size() - start < 4) {
        const auto byte = static_cast<unsigned char>(bytes[--start]);
        if (byte < 0x80)
            break;
        if (byte >= 0xC0) {
            const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            return start + length > bytes.size() ? start : bytes.size();
        }
    }
    return bytes.size();
}

// Shows what is written to it at once.
class ConsoleBuffer : public std::streambuf
{
public:
    explicit ConsoleBuffer(HANDLE console) : console_(console) {}

protected:
    int_type overflow(int_type unit) override
    {
        const char byte = traits_type::to_char_type(unit);
        return xsputn(&byte, 1) == 1 ? unit : traits_type::eof();
    }
    std::streamsize xsputn(const char* bytes, std::streamsize size) override
    {
        pending_.append(bytes, static_cast<std::size_t>(size));
        const std::size_t whole = wholeCharacters(pending_);
        std::wstring text(whole, L'\0');
        text.resize(static_cast<std::size_t>(MultiByteToWideChar(
            CP_UTF8, 0, pending_.data(), static_cast<int>(whole), text.data(), static_cast<int>(whole))));
        pending_.erase(0, whole);
        DWORD written = 0;
        for (std::size_t at = 0; at < text.size(); at += written)
            if (!WriteConsoleW(console_, text.data() + at, static_cast<DWORD>(text.size() - at), &written,
                               nullptr) ||
                written == 0)
                return 0;
        return size;
    }

private:
    HANDLE console_;
    std::string pending_;
};

void prepare(std::ostream& stream, DWORD which)
{
    const HANDLE console = GetStdHandle(which);
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode))
        return;
    SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    stream.rdbuf(new ConsoleBuffer(console)); // until the process ends
}

} // namespace

std::vector<std::string> commandLine(int, char**)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(utf8Of(words[i]));
    LocalFree(words);
    return texts;
}

void prepareStreams()
{
    for (const int stream : {0, 1, 2})
        _setmode(stream, _O_BINARY);
    prepare(std::cout, STD_OUTPUT_HANDLE);
    prepare(std::cerr, STD_ERROR_HANDLE);
}

} // namespace vqloan::program
