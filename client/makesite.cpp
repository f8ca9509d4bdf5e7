// vqloan site: a directory becomes a site that can be asked.
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>

#include "Commands.h"
#include "Input.h"
#include "SampleDatabase.h"
#include "SampleFiles.h"
#include "SampleNetwork.h"
#include "Site.h"
#include "platform/program/Paths.h"
#include "platform/program/Program.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/Text.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// Settings may hold a password: for their owner and his group.
constexpr fs::perms secretFile = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
constexpr fs::perms plainFile = secretFile | fs::perms::others_read;
// Clients and counterparts, all in the directory's group, create, rename and delete files there.
constexpr fs::perms sharedDirectory = fs::perms::owner_all | fs::perms::group_all | fs::perms::set_gid;

void report(const char* done, const fs::path& file)
{
    std::cout << "  " << done << program::utf8Of(file.filename()) << '\n';
}

// A file is made under another name and then renamed: what lies under its own name is always whole.
class Maker
{
public:
    explicit Maker(const fs::path& directory) : directory_(directory) {}

    void make(const fs::path& name, fs::perms permissions,
              const std::function<void(const fs::path&)>& write) const
    {
        const fs::path file = directory_ / name;
        if (fs::exists(file)) {
            report("kept     ", file);
            return;
        }
        place(file, permissions, write);
        report("made     ", file);
    }
    void make(const fs::path& name, fs::perms permissions, std::string_view content) const
    {
        make(name, permissions, [&](const fs::path& file) {
            std::ofstream stream(file, std::ios::binary);
            if (!(stream << content).flush())
                throw std::runtime_error(program::utf8Of(file) + " cannot be written");
        });
    }
    void makeExchange(const char* name) const
    {
        const fs::path made = directory_ / name;
        if (!fs::create_directory(made)) {
            report("kept     ", made);
            return;
        }
        fs::permissions(made, sharedDirectory);
        report("made     ", made);
    }

    // The component is the one file that is renewed: a site would else stay behind when the system's is
    // replaced.
    void copyComponent() const
    {
        const fs::path source = ownedComponent(), file = directory_ / componentName();
        const bool there = fs::exists(file);
        if (there && (fs::equivalent(source, file) || readFile(source) == readFile(file))) {
            report("kept     ", file);
            return;
        }
        place(file, plainFile, [&](const fs::path& aside) { fs::copy_file(source, aside); });
        report(there ? "renewed  " : "made     ", file);
    }

    // The library that the component loads, which it looks for beside itself. One of a process is enough, so
    // a link will do, and it is never behind.
    void linkLibrary() const
    {
#ifdef VQLOAN_AUTOMATION_FILE
        const fs::path link = directory_ / VQLOAN_AUTOMATION_FILE;
        const fs::path library =
            fs::canonical(ownedComponent().parent_path() / VQLOAN_AUTOMATION_FILE).parent_path() /
            VQLOAN_AUTOMATION_FILE;
        if (fs::is_symlink(link) && fs::read_symlink(link) == library)
            return;
        fs::remove(link);
        fs::create_symlink(library, link);
        report("linked   ", link);
#endif
    }

private:
    static void place(const fs::path& file, fs::perms permissions,
                      const std::function<void(const fs::path&)>& write)
    {
        const fs::path aside = fs::path(file) += ".new";
        fs::remove(aside); // of an earlier run that was ended
        try {
            write(aside);
            fs::permissions(aside, permissions);
            if (const std::error_code failed = program::rename(aside, file))
                throw std::system_error(failed, program::utf8Of(file));
        } catch (...) {
            std::error_code ignored;
            fs::remove(aside, ignored);
            throw;
        }
    }

    fs::path directory_;
};

// The path goes into both settings files, where some characters have a meaning of their own or cannot be
// written.
std::string usablePath(const fs::path& directory)
{
    const std::u16string path = os::pathText(directory);
    if (path.find_first_of(u"§;\"'\r\n\t") != path.npos || text::fromCodePage(text::toCodePage(path)) != path)
        throw std::runtime_error("the settings files cannot name the directory " +
                                 program::utf8Of(directory) +
                                 ": choose one of letters, digits and ordinary signs");
    return text::toUtf8(path);
}

// As a shell takes it for one word.
std::string word(const std::string& path)
{
    return path.find(' ') == path.npos ? path : '"' + path + '"';
}

std::string withDirectory(std::string_view sample, const std::string& directory)
{
    std::string all(sample);
    for (auto at = all.find(files::directory); at != all.npos;
         at = all.find(files::directory, at + directory.size()))
        all.replace(at, files::directory.size(), directory);
    return all;
}

void makeSample(const Maker& maker, std::size_t count)
{
    const auto copies = sample::copies(count, os::localDate());
    maker.make("library.db", plainFile, [&](const fs::path& file) { sample::makeDatabase(file, copies); });
    maker.make("host.txt", plainFile, sample::hostTable(copies));
    maker.make("requests.txt", plainFile, sample::requestsForEachSituation(copies));
    maker.make("all.txt", plainFile, sample::allRequests(copies));
}

} // namespace

int makeSite(const SiteOptions& options)
{
    const fs::path directory = fs::absolute(program::pathOf(options.directory)).lexically_normal();
    const std::string path = usablePath(directory);
    if (options.sample && !sample::canMakeDatabase())
        throw std::runtime_error("this build has no embedded database to make a sample of");
    fs::create_directories(directory);
    std::cout << path << '\n';
    const Maker maker(directory);
    maker.copyComponent();
    maker.linkLibrary();
    maker.make(site::settingsFile, secretFile, withDirectory(files::settings, path));
    maker.make(site::hostFile, plainFile,
               withDirectory(files::parameters, text::toCodePage(text::fromUtf8(path))));
    maker.makeExchange("gateway");
    maker.makeExchange("host");
    if (options.sample) {
        makeSample(maker, options.copies);
        std::cout << "Try it: vqloan ask --kind SQL2 --site " << word(path) << " --format table "
                  << word(path + "/requests.txt") << '\n';
    } else {
        std::cout << "Next: name the database in SvrDisp.ini, then vqloan check --kind SQL2 --site "
                  << word(path) << '\n';
    }
    return allWell;
}

} // namespace vqloan::client
