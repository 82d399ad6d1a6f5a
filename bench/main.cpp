// torvi-bench: starts the module, adds the measurements of all subjects and runs them. Takes the options of Google Benchmark, and
// --quick, which runs each measurement once and on small pictures.
#include "bench/measure.h"
#include "torvi/module.h"

#include <cstdio>
#include <string_view>

namespace
{

/// Takes --quick out of the arguments.
torvi::bench::Options TakeOptions(int& argumentCount, char** arguments)
{
	torvi::bench::Options options;
	char** const end = std::remove_if(arguments + 1, arguments + argumentCount, [](std::string_view text) { return text == "--quick"; });
	if (end != arguments + argumentCount)
		options = {._pictureSide = 64, ._isQuick = true};
	argumentCount = static_cast<int>(end - arguments);
	return options;
}

} // namespace

int main(int argumentCount, char** arguments)
{
	using namespace torvi::bench;
	const Options options = TakeOptions(argumentCount, arguments);
	benchmark::Initialize(&argumentCount, arguments);
	if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
		return 2;
	if (const torvi::Result<void> result = StartModuleTimed(); !result.IsOk())
	{
		std::fprintf(stderr, "torvi-bench: %s\n", result.GetError().ToString().c_str());
		return 1;
	}
	for (const auto add : {&AddConversions, &AddBlending, &AddLayouts, &AddThreads, &AddColours, &AddHandlers, &AddComposition, &AddFiles,
						   &AddPng, &AddJpeg, &AddPsd})
		add(options);
	AddStart();
	benchmark::RunSpecifiedBenchmarks();
	benchmark::ClearRegisteredBenchmarks(); // their references go before the module ends
	torvi::EndModule();
}
