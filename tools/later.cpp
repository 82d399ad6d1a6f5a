// Commands whose part of the library is not in this build. They say so.
#include "tools/command.h"

namespace torvi::tool
{

namespace
{

struct LaterCommand
{
	const char* _name;
	const char* _help;
	const char* _message;
};

constexpr LaterCommand COMMANDS[] = {
	{"audio", "Writes the sound of a file.", "This build reads no sound."},
};

} // namespace

void AddLaterCommands(CLI::App& app, Run& run)
{
	for (const LaterCommand& later : COMMANDS)
	{
		CLI::App* command = app.add_subcommand(later._name, later._help);
		command->allow_extras();
		command->callback([&later, &run]()
						  { run = [&later]() { return Report(later._name, UnsupportedOperationError(later._message)); }; });
	}
}

} // namespace torvi::tool
