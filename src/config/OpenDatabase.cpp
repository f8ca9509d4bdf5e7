#include "component/CloseFileNo.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "config/LibraryLines.h"
#include "config/Placeholders.h"
#include "config/PositionPair.h"
#include "config/SettingsFiles.h"
#include "external/SysTools.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"

// The order of the steps is what clients see: each setting is stored as it is read, nothing is rolled back,
// and the first step that fails decides what is recorded.

namespace vqloan {

namespace {

using settings::readLong;
using settings::readText;

// A failure that the opening finds itself; whatever caused it has recorded its own details.
struct FoundFailure
{};

void require(bool succeeded)
{
    if (!succeeded)
        throw FoundFailure{};
}

std::u16string kindOf(const Variant& connectString)
{
    const std::u16string upper = text::upper(connectString.toText());
    return std::u16string(text::trim(upper));
}

void openHost(DispSvr& svr, std::int32_t& fileNo)
{
    svr.DBType = backend::host;
    svr.BibPosse = u"00";
    fileNo = files::freeNumber();
    files::openForReading(fileNo, settings::pathOf(settings::hostFileName));
    settings::loadLibraryLines(fileNo, svr.TabBib, svr.SkipCode, svr.SkipText);
    files::close(fileNo);
}

void openGateway(DispSvr& svr)
{
    svr.DBType = backend::gateway;
    svr.Load_Messa();
    svr.ExchPath = readText(svr.Ini, u"CONFIG", u"PATH", u"");
    svr.ClientId = readLong(svr.Ini, u"CLIENT", u"ID", 0);
    svr.ClientTimeout = readLong(svr.Ini, u"CLIENT", u"TIMEOUT", 5);
}

void readServerSettings(DispSvr& svr)
{
    svr.ConnectStr = readText(svr.Ini, u"SERVER", u"CONNECT", u"");
    require(settings::resolveAll(svr.ConnectStr));
    svr.ConnTimeout = readLong(svr.Ini, u"SERVER", u"TIMEOUT", 0);
    svr.CmdTimeout = readLong(svr.Ini, u"SERVER", u"COMMTIMEOUT", 0);
    svr.CursorLoc = readLong(svr.Ini, u"SERVER", u"CURSOR", 0);
    svr.OpenOptions = readLong(svr.Ini, u"SERVER", u"OPTIONS", -1);
    svr.UserName = readText(svr.Ini, u"SERVER", u"USERNAME", u"");
    require(settings::resolveWhole(svr.UserName));
    svr.Password = readText(svr.Ini, u"SERVER", u"PASSWORD", u"");
    require(settings::resolveWhole(svr.Password));
    settings::readPositionPair(readText(svr.Ini, u"SERVER", u"INVENTARIO", u"3"), settings::WhenEmpty::fail,
                               svr.InvStart, svr.InvLen);
    settings::readPositionPair(readText(svr.Ini, u"SERVER", u"BIBLIOTECA", u""),
                               settings::WhenEmpty::keepStart, svr.BibStart, svr.BibLen);
}

void connect(DispSvr& svr)
{
    // Stored before it is opened: after a failure the object holds the new connection, closed.
    svr.Conn = createConnection();
    if (svr.ConnTimeout > 0)
        svr.Conn->ConnectionTimeout(svr.ConnTimeout);
    if (svr.CmdTimeout > 0)
        svr.Conn->CommandTimeout(svr.CmdTimeout);
    if (svr.CursorLoc > 0)
        svr.Conn->CursorLocation(svr.CursorLoc);
    if (!svr.UserName.empty())
        svr.Conn->Open(svr.ConnectStr, svr.UserName, svr.Password, svr.OpenOptions);
    else // without a user the configured password is not passed either
        svr.Conn->Open(svr.ConnectStr, {}, {}, svr.OpenOptions);
}

void openLibraryDatabase(DispSvr& svr)
{
    svr.DBType = backend::database;
    svr.Load_Messa();
    readServerSettings(svr);
    connect(svr);
    require(!svr.LoadStati());
}

} // namespace

bool DispSvr::OpenDatabase(const Variant& ConnectString) noexcept
{
    constexpr std::u16string_view procedure = u".OpenDatabase, ";
    std::int32_t fileNo = 0;
    bool failed = false;
    try {
        const std::u16string kind = kindOf(ConnectString);
        if (kind == u"7000")
            openHost(*this, fileNo);
        else if (kind == u"SQL")
            openGateway(*this);
        else if (kind == u"SQL2")
            openLibraryDatabase(*this);
    } catch (const FoundFailure&) {
        recordSourceOnly(longSource, procedure);
        failed = true;
    } catch (...) {
        recordFailure(longSource, procedure);
        failed = true;
    }
    CloseFileNo(fileNo);
    return failed;
}

} // namespace vqloan
