// Short forms for tests on pixel formats.
#pragma once

#include "pixelformat/registration.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/ids_formats.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace torvi
{

/// "rgb.u8" as a format.
inline PixelFormat FormatNamed(const std::string& name)
{
	return GetPixelFormat(InternId("net.torvi.image.pixelformat." + name).TakeValue());
}

/// A lookup without profiles in the formats' own layouts.
inline Result<ConvertPixelFunc> LookUp(const PixelFormat& destination, const PixelFormat& source)
{
	Bool isColorConverted = false;
	return destination->GetConvertPixelFunc(source, source->GetChannelOffsets(), destination->GetChannelOffsets(), nullptr, nullptr, false,
											isColorConverted);
}

template <class T>
std::vector<Byte> BytesOfValues(const std::vector<T>& values)
{
	std::vector<Byte> bytes(values.size() * sizeof(T));
	std::memcpy(bytes.data(), values.data(), bytes.size());
	return bytes;
}

/// Converts `count` packed pixels and gives the destination's values; nothing after a failure, which fails the test.
template <class D, class S>
std::vector<D> Convert(const PixelFormat& destination, const PixelFormat& source, Int count, const std::vector<S>& values)
{
	const std::vector<Byte> from = BytesOfValues(values);
	std::vector<Byte> to(static_cast<std::size_t>(destination->GetBytesPerLine(count, 1)) + sizeof(D), 0xCD);
	const Result<ConvertPixelFunc> function = LookUp(destination, source);
	if (!function.IsOk())
	{
		ADD_FAILURE() << function.GetError().ToString();
		return {};
	}
	const Result<void> result = function.GetValue()(PixelBuffer(to.data(), destination->GetBitsPerPixel()), count,
													PixelBuffer(from.data(), source->GetBitsPerPixel()), 0);
	EXPECT_TRUE(result.IsOk());
	for (std::size_t i = to.size() - sizeof(D); i < to.size(); ++i)
		EXPECT_EQ(to[i], 0xCD) << "written behind the end";
	std::vector<D> read((to.size() - sizeof(D)) / sizeof(D));
	std::memcpy(read.data(), to.data(), read.size() * sizeof(D));
	return read;
}

/// The format of a list of channels.
inline Result<PixelFormat> FormatOfChannels(const std::vector<std::pair<CHANNELTYPE, DataType>>& list)
{
	Array<ImageChannel> channels;
	for (const auto& [type, dataType] : list)
		channels.push_back(GetImageChannel(type, dataType));
	return FindOrCreatePixelFormat(channels);
}

} // namespace torvi
