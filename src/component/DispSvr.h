// The availability server's one object. All its fields stand in one struct. Each operation has a file of its
// own, named after it, in the folder of its subsystem.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "external/Ado.h"
#include "external/IniFile.h"
#include "platform/runtime/Int16.h"
#include "platform/runtime/Variant.h"
#include "site/HostFile.h"
#include "site/Kind.h"
#include "site/Texts.h"

namespace vqloan {

// Lines of a code, a TAB and a text. Element 0 is never read; a table that no load has filled has no element
// at all, and every code looks up as the empty text.
using CodeTable = std::vector<std::u16string>;

using LibraryTable = std::array<site::Library, site::mostLibraries>;

struct DispSvrFields
{
    std::u16string BibPosse;          // the component's own library; clients read and write it
    std::int16_t DBType = 0;          // site::Kind of the back end in force; clients read and write it
    CodeTable TabMessa;               // message texts by number
    LibraryTable TabBib;              // libraries of the "7000" back end
    std::u16string SkipCode;          // group whose libraries the host is not asked about
    std::u16string SkipText;          // answer for the libraries of that group
    std::int16_t InvStart = 0;        // first position of the part of an inventory number in use
    std::int16_t BibLen = 0;          // length of the part of a library code in use; 0: to its end
    std::int16_t BibStart = 0;        // first position of that part
    std::int16_t InvLen = 0;          // length of the inventory number's part; 0: to its end
    std::u16string ExchPath;          // exchange directory of the "SQL" back end
    std::int32_t ClientId = 0;        // number in the exchange files' names
    std::int32_t ClientTimeout = 0;   // seconds to wait for an answer file
    std::shared_ptr<Connection> Conn; // database connection of the "SQL2" back end
    std::int32_t ConnTimeout = 0;     // seconds; 0 or less: the provider's default
    std::int32_t CmdTimeout = 0;      // seconds; 0 or less: the provider's default
    std::int32_t CursorLoc = 0;       // 0 or less: the provider's default
    std::u16string UserName;          // as resolved
    std::u16string Password;          // as resolved
    std::u16string ConnectStr;        // as resolved
    std::int32_t OpenOptions = 0;
    std::shared_ptr<IniFile> Ini; // bound to SvrDisp.ini on first need, once
    CodeTable TabStati;           // texts of the special statuses, by code
    std::u16string SettingsDir;   // of the settings files; empty: the component's own directory
};

// An object lives on one thread. An operation that "records" never throws: it records its failure, which
// ErrNumber and LastError tell, and gives its failure value. The others let a RuntimeError reach their
// caller, unless they say that they never fail.
class DispSvr : public DispSvrFields
{
public:
    DispSvr() = default;
    ~DispSvr() { ShutDown(); }
    DispSvr(const DispSvr&) = delete;
    DispSvr& operator=(const DispSvr&) = delete;

    // --- Published operations ---

    // Prepares the back end of that name: "7000", "SQL" or "SQL2", in any letter case, with blanks around it
    // or without. Another name does nothing and is no failure. True when it FAILED; records. Writes DBType,
    // then the fields of that kind one after the other; what was written before a failure stays.
    [[nodiscard]] bool OpenDatabase(const Variant& ConnectString) noexcept;
    // Closes the connection and releases it. Never fails; keeps every other field.
    void ShutDown() noexcept;
    // Number of the failure recorded last on this thread.
    std::int32_t ErrNumber();
    // The empty text. Never fails.
    std::u16string InitLoans() noexcept;
    // Fills each given argument with the detail of the failure recorded last on this thread; null: left out.
    void LastError(VARIANT* Number, VARIANT* Source, VARIANT* Description, VARIANT* HelpFile,
                   VARIANT* HelpContext, VARIANT* LastDLLError);
    // Answers a block of request lines; the empty text when it failed. Records, but throws what
    // SysTools::AfterError throws. Reads DBType, BibPosse, SkipText and what the back end reads.
    std::u16string VisNre(std::u16string_view Buf);
    // A listed library's name, with "**" in front when its group is the skipped one; the empty text for a
    // code that is not listed. Reads TabBib, SkipCode.
    std::u16string TestCodBib(std::u16string_view CodBib) const;
    // Builds TabMessa from the settings file; binds Ini.
    void Load_Messa();

    // --- Private operations: not in the published interface ---

    // Builds TabStati from TABBLOCCOMAT. True when that FAILED; records. Reads Conn.
    [[nodiscard]] bool LoadStati() noexcept;
    // True when Conn is there and its state is exactly "open". Never fails.
    bool IsConnected() noexcept;
    // The record of one copy in the library database: the library's description, a TAB, and the fields of the
    // copy's situation. The empty text without a connection or an inventory number. The failure marker alone
    // when it failed; records. Replaces Bib by its configured part. Reads Conn, InvStart, InvLen, BibStart,
    // BibLen, TabMessa, TabStati.
    std::u16string Make_LstDispo(std::u16string_view Inv, std::u16string& Bib) noexcept;
    // Binds Ini to SvrDisp.ini unless it is there already. True when that FAILED; records. Throws when memory
    // has run out, and leaves Ini unset then.
    [[nodiscard]] bool InitIni();
    // One exchange with the legacy host; no answer in time is an answer, too. True when it FAILED; records.
    // Writes TabBib. Writes Answer last, before it is cut to its width: where only the cut fails, the whole
    // answer stands in it.
    [[nodiscard]] bool Call7000(std::u16string_view Req, std::u16string& Answer) noexcept;
    // One exchange with the SQL gateway; no answer in time is an answer, too, and so is a failure that the
    // gateway reports. True when it FAILED; records. Reads ExchPath, ClientId, ClientTimeout, TabMessa.
    [[nodiscard]] bool CallSql(std::u16string_view Cmd, std::u16string_view Inv, std::u16string_view Bib,
                               std::u16string& Answer) noexcept;
    // One copy's answer from the back end in force: a host's text, or a record without its first field, which
    // replaces Bib. A failure starts with the failure marker. Reads DBType.
    std::u16string CallDB(std::u16string_view Inv, std::u16string& Bib);

    // The text of the first line with exactly that code; the empty text when there is none. 6 "Overflow" for
    // a table that goes beyond element 32,767.
    static std::u16string_view Find_Messa(std::u16string_view Code, const CodeTable& Table);
    // Field Num (from 1) of a text that Sep divides into fields; the empty text when there is none. With Cut,
    // the field and everything before it are taken off the front of Text. Num 0 asks for field 1 with Cut,
    // and becomes 1. The result is part of the text that Text views. 6 "Overflow" when a position or a count
    // would pass 32,767.
    static std::u16string_view GetField(std::u16string_view& Text, std::u16string_view Sep, Int16& Num,
                                        bool Cut = false);
    // The same without cutting.
    static std::u16string_view GetField(std::u16string_view Text, std::u16string_view Sep, int Num);

    // Appends Item to List, with Sep between items. An empty item is left out unless KeepEmpty.
    static void AddField(std::u16string& List, std::u16string_view Item,
                         std::u16string_view Sep = site::lineEnd, bool KeepEmpty = false);
    // Equal without regard to case and trailing spaces.
    static bool SameText(std::u16string_view A, std::u16string_view B);
    // Position (from 1) of the N-th occurrence of Sep in Text, 0 when there is none. 6 "Overflow" when it is
    // beyond 32,767.
    static Int16 FindNth(std::u16string_view Text, std::u16string_view Sep, Int16 N);
};

} // namespace vqloan
