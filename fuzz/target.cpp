// The module that inputs run in, and inputs as files.
#include "fuzz/target.h"

#include "host/iomemory.h"
#include "torvi/module.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace torvi::fuzz
{

void PrepareModule()
{
	constexpr int INPUTS_PER_MODULE = 1000;
	static std::optional<ModuleScope> s_module;
	static int s_inputs = 0;
	struct EndAtExit
	{
		~EndAtExit() { s_module.reset(); }
	};
	if (s_inputs++ % INPUTS_PER_MODULE == 0)
	{
		s_module.reset();
		s_module.emplace();
		Require(s_module->GetResult().IsOk(), "The module starts.");
	}
	static const EndAtExit s_end; // made behind what the module needs, and so destroyed before it
}

Url MakeFile(Block<const Byte> bytes)
{
	const Result<Ref<IoMemory>> memory = NewObject<IoMemory>(Array<Byte>(bytes.begin(), bytes.end()));
	Require(memory.IsOk(), "There is memory for an input.");
	Result<Url> url = memory.GetValue()->GetUrl();
	Require(url.IsOk(), "A file in memory has a Url.");
	return url.TakeValue();
}

void Require(Bool isHeld, const char* promise)
{
	if (isHeld)
		return;
	std::fprintf(stderr, "Not held: %s\n", promise);
	std::abort();
}

} // namespace torvi::fuzz
