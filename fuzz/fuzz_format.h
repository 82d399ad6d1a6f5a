// The body of all fuzz targets of picture formats: load the bytes as a file of one format, and save them again if that went well.
#pragma once

#include "host/iomemory.h"
#include "torvi/gfx_image.h"
#include "torvi/gfx_image_storage.h"
#include "torvi/mediasession_fileformats.h"
#include "torvi/module.h"

#include <cstdio>
#include <cstdlib>

namespace torvi::fuzz
{

/// Pictures above this many bytes are left out: they take time, not new roads.
inline constexpr Int LARGEST_PICTURE = Int(4) << 20;

/// Whether all pictures of a file are small together, with their layers, masks and alpha channels.
inline Bool IsSmall(const ImageTextureRef& texture)
{
	Array<ImageBaseRef> images = GetImageChildren(*texture, IMAGEHIERARCHY::IMAGE);
	Int bytes = 0;
	while (!images.empty() && bytes <= LARGEST_PICTURE)
	{
		const ImageBaseRef image = images.back();
		images.pop_back();
		const Int line = BytesOf(image->GetWidth() * image->GetPixelFormat()->GetBitsPerPixel());
		bytes += line > 0 && image->GetHeight() > LARGEST_PICTURE / line ? LARGEST_PICTURE + 1 : line * image->GetHeight();
		for (const IMAGEHIERARCHY branch : {IMAGEHIERARCHY::ALPHA, IMAGEHIERARCHY::LAYER, IMAGEHIERARCHY::MASK})
		{
			const Array<ImageBaseRef> children = GetImageChildren(*image, branch);
			images.insert(images.end(), children.begin(), children.end());
		}
	}
	return bytes <= LARGEST_PICTURE;
}

inline Result<void> LoadAndSave(const Url& url, const Id& exporter)
{
	const ClassRef noData = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA));
	if (!IsSmall(TORVI_TRY(LoadTexture(url, TimeValue(), MEDIASESSIONFLAGS::NONE, noData, nullptr))))
		return OK;
	const ImageTextureRef texture = TORVI_TRY(LoadTexture(url, TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr));
	if (exporter.IsEmpty())
		return OK;
	const auto output = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(exporter));
	const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
	TORVI_TRY(output->SetOutputUrl(TORVI_TRY(memory->GetUrl())));
	return texture->Save(output, MEDIASESSIONFLAGS::NONE, nullptr);
}

/// One input of a target. Errors are what most inputs give; only a crash, a leak or a hang is a find.
inline int RunFormat(const Byte* data, std::size_t size, const Id& fileFormat, const Id& exporter)
{
	static const ModuleScope module;
	if (!module.GetResult().IsOk())
	{
		std::fprintf(stderr, "%s\n", module.GetResult().GetError().ToString().c_str());
		std::abort();
	}
	const auto format = FindDeclared<FileFormatInterface>(fileFormat);
	const Result<Ref<IoMemory>> memory = NewObject<IoMemory>(Array<Byte>(data, data + size));
	if (!format || !memory.IsOk())
		std::abort();
	const Result<Url> url = memory.GetValue()->GetUrl();
	const Result<InputStreamRef> stream = url.IsOk() ? url.GetValue().OpenInputStream() : Result<InputStreamRef>(InputStreamRef());
	if (stream.IsOk() && format->Detect(url.GetValue(), stream.GetValue()).ValueOr(false))
		(void)LoadAndSave(url.GetValue(), exporter);
	return 0;
}

} // namespace torvi::fuzz

/// A whole target in one line: the ids of the file format and of its exporter, which may be empty.
#define TORVI_FUZZ_FORMAT(fileFormat, exporter)                                                                                            \
	extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)                                                       \
	{                                                                                                                                      \
		return torvi::fuzz::RunFormat(data, size, fileFormat, exporter);                                                                   \
	}
