// torvi-image: a small host program over the library. It looks at picture files, converts them, and shows what the library knows.
#include "tools/command.h"
#include "tools/watch.h"
#include "torvi/module.h"
#include "torvi/version.h"

#include <exception>

namespace
{

/// CLI11 ends wrong usage with statuses of its own; ours is one.
int Parse(CLI::App& app, int argumentCount, char** arguments)
{
	try
	{
		app.parse(argumentCount, arguments);
		return torvi::tool::STATUS_OK;
	}
	catch (const CLI::ParseError& error)
	{
		return app.exit(error) == 0 ? -1 : torvi::tool::STATUS_USAGE;
	}
}

int Main(int argumentCount, char** arguments)
{
	using namespace torvi::tool;
	CLI::App app("Looks at pictures, converts them, and lists what the library knows.", "torvi-image");
	app.set_version_flag("--version", std::string(torvi::VERSION_TEXT));
	app.require_subcommand(1);
	Run run;
	AddInfo(app, run);
	AddConvert(app, run);
	AddPixels(app, run);
	AddConvertPixels(app, run);
	AddBlend(app, run);
	AddList(app, run);
	AddSheet(app, run);
	AddLaterCommands(app, run);
	if (const int status = Parse(app, argumentCount, arguments); status != STATUS_OK)
		return status < 0 ? STATUS_OK : status;

	const torvi::ModuleScope module;
	if (!module.GetResult().IsOk())
		return Report("module", module.GetResult());
	return run();
}

} // namespace

int main(int argumentCount, char** arguments)
{
	torvi::tool::CatchSignals();
	try
	{
		const int status = Main(argumentCount, arguments);
		torvi::tool::ClearProgressLine();
		return status;
	}
	catch (const std::exception& exception)
	{
		return torvi::tool::Report("module", torvi::UnknownError("@", exception.what()));
	}
}
