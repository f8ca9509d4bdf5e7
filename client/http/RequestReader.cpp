#include "http/RequestReader.h"

#include <algorithm>
#include <charconv>

namespace vqloan::client::http {

namespace {

constexpr std::size_t longestHead = 16 * 1024;
constexpr std::size_t longestTarget = 8000; // so much any proxy in front takes too
constexpr std::string_view lineEnd = "\r\n", headEnd = "\r\n\r\n";
// Those that the library knows.
constexpr std::string_view methods[] = {"GET",     "HEAD",    "POST",  "PUT",  "DELETE",
                                        "CONNECT", "OPTIONS", "TRACE", "PATCH"};

char lower(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) noexcept
{
    return std::ranges::equal(a, b, {}, lower, lower);
}

std::string_view trimmed(std::string_view text) noexcept
{
    const auto first = std::min(text.find_first_not_of(" \t"), text.size());
    text.remove_prefix(first);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Whether a list as of the header Connection has that word in it.
bool names(std::string_view list, std::string_view word) noexcept
{
    while (!list.empty()) {
        const auto end = std::min(list.find(','), list.size());
        if (equalsIgnoringCase(trimmed(list.substr(0, end)), word))
            return true;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

bool isControl(char c) noexcept
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool isNameCharacter(char c) noexcept
{
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    const char l = lower(c);
    return (l >= 'a' && l <= 'z') || (c >= '0' && c <= '9') || marks.find(c) != marks.npos;
}

} // namespace

RequestReader::Step RequestReader::refuse(int status, std::string description)
{
    refusal_ = {status, std::move(description)};
    return Step::refused;
}

RequestReader::Step RequestReader::advance(std::string& bytes)
{
    if (!hasHead_) {
        if (scanned_ == 0)
            while (bytes.starts_with(lineEnd)) // some clients end a body with one
                bytes.erase(0, lineEnd.size());
        const auto end = bytes.find(headEnd, scanned_);
        if (std::min(end, bytes.size()) > longestHead)
            return refuse(431, "the head of a request is at most 16 KiB long");
        if (end == bytes.npos) {
            scanned_ = bytes.size() - std::min(bytes.size(), headEnd.size() - 1);
            return Step::more;
        }
        if (const Step step = readHead(std::string_view(bytes).substr(0, end + lineEnd.size()));
            step != Step::whole)
            return step;
        bytes.erase(0, end + headEnd.size());
        hasHead_ = true;
        invites_ = invites_ && length_ && bytes.empty();
    }
    const std::size_t length = length_.value_or(0);
    if (bytes.size() < length)
        return Step::more;
    std::string rest = bytes.substr(length); // most often nothing, and the body need not be copied
    bytes.resize(length);
    incoming_.body = std::exchange(bytes, std::move(rest));
    incoming_.came = Clock::now();
    return Step::whole;
}

Incoming RequestReader::take()
{
    Incoming whole = std::move(incoming_);
    *this = RequestReader();
    return whole;
}

RequestReader::Step RequestReader::readHead(std::string_view head)
{
    bool isFirst = true;
    while (!head.empty()) {
        const auto end = head.find(lineEnd);
        const std::string_view line = head.substr(0, end);
        head.remove_prefix(end + lineEnd.size());
        if (std::ranges::any_of(line, [](char c) { return isControl(c) && c != '\t'; }))
            return refuse(400, "there is a control character in the head of the request");
        const Step step = isFirst ? readRequestLine(line) : readHeader(line);
        if (step != Step::whole)
            return step;
        isFirst = false;
    }
    if (incoming_.isNew && !hasHost_)
        return refuse(400, "a request of HTTP/1.1 names the host");
    return Step::whole;
}

RequestReader::Step RequestReader::readRequestLine(std::string_view line)
{
    const auto first = line.find(' '), last = line.rfind(' ');
    if (first == line.npos || first == last)
        return refuse(400, "no request line of HTTP");
    const std::string_view method = line.substr(0, first), version = line.substr(last + 1),
                           target = line.substr(first + 1, last - first - 1);
    if (!version.starts_with("HTTP/"))
        return refuse(400, "no request line of HTTP");
    if (version != "HTTP/1.1" && version != "HTTP/1.0")
        return refuse(505, "HTTP/1.1 and HTTP/1.0 are spoken here");
    if (!target.starts_with('/') && target != "*")
        return refuse(400, "the target of a request begins with /");
    if (target.find(' ') != target.npos)
        return refuse(400, "there is a blank in the target of the request");
    if (target.size() > longestTarget)
        return refuse(414, "a path with its query is at most 8,000 bytes long: send request lines with POST");
    if (std::ranges::find(methods, method) == std::end(methods)) {
        refusal_ = {405, "there is no such method", {{"Allow", "GET, HEAD"}}};
        return Step::refused;
    }
    incoming_.keepsOpen = incoming_.isNew = version == "HTTP/1.1";
    incoming_.method = method;
    incoming_.target = target;
    return Step::whole;
}

RequestReader::Step RequestReader::readHeader(std::string_view line)
{
    const auto colon = line.find(':');
    const std::string_view name = line.substr(0, colon);
    if (colon == line.npos || name.empty() || !std::ranges::all_of(name, isNameCharacter))
        return refuse(400, "no header of HTTP");
    const std::string_view value = trimmed(line.substr(colon + 1));
    const auto is = [name](std::string_view other) { return equalsIgnoringCase(name, other); };
    if (is("Content-Length"))
        return readLength(value);
    if (is("Transfer-Encoding"))
        return refuse(411, "a body is sent with its length");
    if (is("Content-Encoding") && !value.empty() && !equalsIgnoringCase(value, "identity"))
        return refuse(415, "a body is sent as it is, without compression");
    if (is("Host") && std::exchange(hasHost_, true))
        return refuse(400, "the host is named twice");
    if (is("Expect"))
        invites_ = equalsIgnoringCase(value, "100-continue");
    else if (is("Connection"))
        incoming_.keepsOpen = incoming_.keepsOpen && !names(value, "close");
    return Step::whole;
}

RequestReader::Step RequestReader::readLength(std::string_view digits)
{
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    if (error == std::errc::result_out_of_range || (error == std::errc() && length > largestBody))
        return refuse(413, "the body of a request is at most 1 MiB long");
    if (error != std::errc() || end != digits.data() + digits.size() || (length_ && *length_ != length))
        return refuse(400, "no length");
    length_ = length;
    return Step::whole;
}

} // namespace vqloan::client::http
