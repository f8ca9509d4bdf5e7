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

// Clients see the order of the steps: the first one that fails decides what is recorded and which fields are
// set, since each setting is stored as it is read and nothing is rolled back.

namespace vqloan {

namespace {

using settings::readLong;
using settings::readText;
using site::Kind;
using site::setting;

// A failure of a step that has recorded it itself and only says that it failed.
struct FoundFailure
{};

void require(bool succeeded)
{
    if (!succeeded)
        throw FoundFailure{};
}

Kind kindOf(const Variant& connectString)
{
    const std::u16string upper = text::upper(connectString.toText());
    return site::kindNamed(text::trim(upper));
}

void openHost(DispSvr& svr, std::int32_t& fileNo)
{
    svr.BibPosse = u"00";
    fileNo = files::freeNumber();
    files::openForReading(fileNo, settings::pathOf(svr.SettingsDir, site::hostFile));
    settings::loadLibraryLines(fileNo, svr.TabBib, svr.SkipCode, svr.SkipText);
    files::close(fileNo);
}

void openGateway(DispSvr& svr)
{
    svr.Load_Messa();
    svr.ExchPath = readText(svr.Ini, setting(u"CONFIG", u"PATH"));
    svr.ClientId = readLong(svr.Ini, setting(u"CLIENT", u"ID"));
    svr.ClientTimeout = readLong(svr.Ini, setting(u"CLIENT", u"TIMEOUT"));
}

void readServerSettings(DispSvr& svr)
{
    svr.ConnectStr = readText(svr.Ini, setting(u"SERVER", u"CONNECT"));
    require(settings::resolveAll(svr.ConnectStr));
    svr.ConnTimeout = readLong(svr.Ini, setting(u"SERVER", u"TIMEOUT"));
    svr.CmdTimeout = readLong(svr.Ini, setting(u"SERVER", u"COMMTIMEOUT"));
    svr.CursorLoc = readLong(svr.Ini, setting(u"SERVER", u"CURSOR"));
    svr.OpenOptions = readLong(svr.Ini, setting(u"SERVER", u"OPTIONS"));
    svr.UserName = readText(svr.Ini, setting(u"SERVER", u"USERNAME"));
    require(settings::resolveWhole(svr.UserName));
    svr.Password = readText(svr.Ini, setting(u"SERVER", u"PASSWORD"));
    require(settings::resolveWhole(svr.Password));
    settings::readPositionPair(readText(svr.Ini, setting(u"SERVER", u"INVENTARIO")),
                               settings::WhenEmpty::fail, svr.InvStart, svr.InvLen);
    settings::readPositionPair(readText(svr.Ini, setting(u"SERVER", u"BIBLIOTECA")),
                               settings::WhenEmpty::keepStart, svr.BibStart, svr.BibLen);
}

void connect(DispSvr& svr)
{
    // Stored before it is opened. After a failure the object therefore holds the new connection, closed.
    svr.Conn = createConnection();
    if (svr.ConnTimeout > 0)
        svr.Conn->ConnectionTimeout(svr.ConnTimeout);
    if (svr.CmdTimeout > 0)
        svr.Conn->CommandTimeout(svr.CmdTimeout);
    if (svr.CursorLoc > 0)
        svr.Conn->CursorLocation(svr.CursorLoc);
    if (!svr.UserName.empty())
        svr.Conn->Open(svr.ConnectStr, svr.UserName, svr.Password, svr.OpenOptions);
    else // a password alone is not passed
        svr.Conn->Open(svr.ConnectStr, {}, {}, svr.OpenOptions);
}

void openLibraryDatabase(DispSvr& svr)
{
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
        const Kind kind = kindOf(ConnectString);
        if (kind != Kind::none)
            DBType = static_cast<std::int16_t>(kind);
        if (kind == Kind::host)
            openHost(*this, fileNo);
        else if (kind == Kind::gateway)
            openGateway(*this);
        else if (kind == Kind::database)
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
