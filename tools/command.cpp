// Shared services of the commands.
#include "tools/command.h"

#include "host/module.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace torvi::tool
{

namespace
{

constexpr std::string_view PIXELFORMAT_PREFIX = "net.torvi.image.pixelformat.";
constexpr std::string_view PROFILE_PREFIX = "net.torvi.image.colorprofile.";
constexpr std::size_t READ_STEP = std::size_t(1) << 20;

Result<Array<Byte>> ReadStandardInput()
{
	return NoThrow(
		[]() -> Result<Array<Byte>>
		{
			Array<Byte> bytes;
			std::size_t size = 0;
			for (std::size_t read = 1; read != 0; size += read)
			{
				bytes.resize(size + READ_STEP);
				read = std::fread(bytes.data() + size, 1, READ_STEP, stdin);
			}
			TORVI_CHECK(std::ferror(stdin) == 0, IoError("Standard input cannot be read."));
			bytes.resize(size);
			return bytes;
		});
}

Result<void> WriteStandardOutput(Block<const Byte> bytes)
{
	const Bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
	TORVI_CHECK(isWritten, IoError("Standard output cannot be written."));
	return OK;
}

/// A name beside `path` that no other process uses.
std::string NameBeside(const std::string& path)
{
	return path + "." + std::to_string(getpid()) + ".part";
}

/// One channel of a dynamic format, "uchar#Red".
Result<ImageChannel> ParseChannel(std::string_view text)
{
	const std::size_t mark = text.find('#');
	TORVI_CHECK(mark != std::string_view::npos, IllegalArgumentError("A channel is written as type#Name, not @.", text));
	const Id dataType = TORVI_TRY(InternId(text.substr(0, mark)));
	for (const auto& type : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGECHANNELTYPES))->GetEntries<ImageChannelTypeInterface>())
	{
		if (ComparePart(type->ToString(), text.substr(mark + 1), StringCompareMode::CASEINSENSITIVE) != 0)
			continue;
		if (const Result<DataType> found = FindDataType(dataType); found.IsOk())
		{
			if (ImageChannel channel = type->GetChannel(found.GetValue()))
				return channel;
		}
	}
	return IllegalArgumentError("There is no channel @.", text);
}

Result<PixelFormat> ParseDynamicFormat(std::string_view list)
{
	Array<ImageChannel> channels;
	while (!list.empty())
	{
		const std::size_t end = std::min(list.find(','), list.size());
		channels.push_back(TORVI_TRY(ParseChannel(list.substr(0, end))));
		list.remove_prefix(std::min(end + 1, list.size()));
	}
	return FindOrCreatePixelFormat(channels);
}

} // namespace

void PrintError(const std::string& file, const Error& error)
{
	const Error& innermost = error.GetInnermostCause();
	std::string line = "torvi-image: " + file + ": " + ToStd(innermost.GetId().GetText()) + ": " + ToStd(innermost.GetMessage());
	std::replace(line.begin(), line.end(), '\n', ' ');
	std::cerr << line + "\n" << std::flush;
}

int Report(const std::string& file, const Result<void>& result)
{
	if (result.IsOk())
		return STATUS_OK;
	PrintError(file, result.GetError());
	return STATUS_FAILED;
}

Result<Url> OpenInput(const std::string& name)
{
	if (name != "-")
		return Url::FromSystemPath(name);
	return TORVI_TRY(NewObject<IoMemory>(TORVI_TRY(ReadStandardInput())))->GetUrl("standard input");
}

Result<Array<Byte>> ReadInput(const std::string& name)
{
	if (name == "-")
		return ReadStandardInput();
	BinaryReader reader;
	TORVI_TRY(reader.Open(TORVI_TRY(Url::FromSystemPath(name)), ByteOrder::LITTLEENDIAN));
	return reader.ReadArray(reader.GetRemaining());
}

Result<void> WriteOutput(const std::string& name, const std::function<Result<void>(const Url&)>& write)
{
	if (name.empty() || name == "-")
	{
		const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
		TORVI_TRY(write(TORVI_TRY(memory->GetUrl("standard output"))));
		return WriteStandardOutput(memory->GetBytes());
	}
	const std::string beside = NameBeside(name);
	Result<void> result = write(TORVI_TRY(Url::FromSystemPath(beside)));
	std::error_code code;
	if (result.IsOk())
	{
		std::filesystem::rename(beside, name, code);
		if (code)
			result = IoError("@ cannot be written: @", name, code.message());
	}
	if (!result.IsOk())
		std::filesystem::remove(beside, code);
	return result;
}

Result<PixelFormat> ParsePixelFormat(const std::string& name)
{
	if (name.size() > 2 && name.front() == '{' && name.back() == '}')
		return ParseDynamicFormat(std::string_view(name).substr(1, name.size() - 2));
	for (const std::string& id : {name, ToStd(PIXELFORMAT_PREFIX) + name})
	{
		if (PixelFormat format = GetPixelFormat(TORVI_TRY(InternId(id))))
			return format;
	}
	return IllegalArgumentError("There is no pixel format @.", name);
}

Result<ColorProfile> ParseProfile(const std::string& name)
{
	if (name == "none")
		return ColorProfile();
	TORVI_CHECK(FindDeclared<ColorConversionStageInterface>(ids::INTERFACE_COLORCONVERSIONSTAGE),
	            UnsupportedOperationError("This build converts no colours: the profile @ cannot be used.", name));
	const std::string id = name.starts_with(PROFILE_PREFIX) ? name : ToStd(PROFILE_PREFIX) + (name == "linear" ? "linear_rgb" : name);
	ColorProfile profile = GetBuiltInColorProfile(TORVI_TRY(InternId(id)));
	return profile.IsEmpty() ? ColorProfile::OpenProfileFromFile(TORVI_TRY(Url::FromSystemPath(name))) : Result<ColorProfile>(profile);
}

std::string ShortId(std::string_view id, std::string_view prefix)
{
	return ToStd(id.starts_with(prefix) ? id.substr(prefix.size()) : id);
}

} // namespace torvi::tool
