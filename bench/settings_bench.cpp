// Loading a settings file of 32,767 messages, per message, beside one of 3,276.
#include <filesystem>
#include <fstream>

#include "RatioReporter.h"
#include "component/DispSvr.h"

namespace {

void load(benchmark::State& state, int messages)
{
    const auto file = std::filesystem::temp_directory_path() / "vqloan-settings-bench.ini";
    {
        std::ofstream ini(file);
        ini << "[MESSAGGI]\nNUMMSG=" << messages << "\n";
        for (int i = 1; i <= messages; ++i)
            ini << i << "=Messaggio numero " << i << "\n";
    }
    vqloan::DispSvr svr;
    svr.Ini = vqloan::createIniFile();
    svr.Ini->SetFile(file.u16string());
    for (auto _ : state) {
        svr.Load_Messa();
        if (svr.TabMessa.size() != static_cast<std::size_t>(messages) + 1)
            state.SkipWithError("messages are missing");
    }
    state.SetItemsProcessed(state.iterations() * messages);
    std::filesystem::remove(file);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("one message of 32767/real", load, 32767);
    benchmark::RegisterBenchmark("one message of 32767/one of 3276", load, 3276);
    return vqloan::bench::run(argc, argv);
}
