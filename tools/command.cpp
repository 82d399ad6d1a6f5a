// Shared services of the commands.
#include "tools/command.h"

#include "host/module.h"
#include "host/url.h"
#include "tools/watch.h"

#include <iostream>

namespace torvi::tool
{

namespace
{

constexpr std::string_view PROFILE_PREFIX = "net.torvi.image.colorprofile.";

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

void PrintLine(const std::string& file, const std::string& text)
{
	std::string line = "torvi-image: " + file + ": " + text;
	std::ranges::replace(line, '\n', ' ');
	ClearProgressLine();
	std::cerr << line + "\n" << std::flush;
}

} // namespace

void PrintError(const std::string& file, const Error& error)
{
	const Error& innermost = error.GetInnermostCause();
	PrintLine(file, ToStd(innermost.GetId().GetText()) + ": " + ToStd(innermost.GetMessage()));
}

void PrintNote(const std::string& file, const std::string& text)
{
	PrintLine(file, "note: " + text);
}

int Report(const std::string& file, const Result<void>& result)
{
	if (result.IsOk())
		return STATUS_OK;
	PrintError(file, result.GetError());
	return STATUS_FAILED;
}

Result<PixelFormat> ParsePixelFormat(const std::string& name)
{
	const std::string channels = ShortId(name, PIXELFORMAT_PREFIX);
	if (channels.size() > 2 && channels.front() == '{' && channels.back() == '}')
		return ParseDynamicFormat(std::string_view(channels).substr(1, channels.size() - 2));
	for (const std::string& id : {name, ToStd(PIXELFORMAT_PREFIX) + name})
	{
		if (PixelFormat format = GetPixelFormat(TORVI_TRY(InternId(id))))
			return format;
	}
	return IllegalArgumentError("There is no pixel format @.", name);
}

std::string NamePixelFormat(const PixelFormat& format)
{
	std::string templateId;
	for (const auto& group : g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS).TakeValue()->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
		{
			if (it.GetEntry() == format)
				return ToStd(it.GetEntryId().GetText());
			if (const PixelFormat entry = Cast<PixelFormatInterface>(it.GetEntry()); entry && entry->GetClassId() == format->GetClassId())
				templateId = ToStd(it.GetEntryId().GetText());
		}
	}
	return templateId.empty() ? std::string(format->GetShortName()) : templateId;
}

Result<ColorProfile> ParseProfile(const std::string& name)
{
	if (name == "none")
		return ColorProfile();
	const std::string id = name.starts_with(PROFILE_PREFIX) ? name : ToStd(PROFILE_PREFIX) + (name == "linear" ? "linear_rgb" : name);
	ColorProfile profile = GetBuiltInColorProfile(TORVI_TRY(InternId(id)));
	return profile.IsEmpty() ? ColorProfile::OpenProfileFromFile(TORVI_TRY(Url::FromSystemPath(name))) : Result<ColorProfile>(profile);
}

std::string ShortId(std::string_view id, std::string_view prefix)
{
	return ToStd(id.starts_with(prefix) ? id.substr(prefix.size()) : id);
}

} // namespace torvi::tool
