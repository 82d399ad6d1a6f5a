// Pixel handlers and pixel storages: how lines of pixels are read and written, and the objects that hold them.
#pragma once

#include "host/gfx_basictypes.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// A run of pixels of one line: `_count` pixels from (`_x`, `_y`) rightward; line 0 is the top line.
struct ImagePos
{
	Int _x = 0;
	Int _y = 0;
	Int _count = 0;
};

/// Flags of get and set handlers.
enum class PIXELHANDLERFLAGS : UInt32
{
	NONE = 0,
	FORCECOLORPROFILECONVERSION = 1, ///< handed to the conversion lookup as forceProfiles
	DEEPIMAGE = 2,
	NOMASKS = 4, ///< get only: the image is not combined with its masks
};
using GETPIXELHANDLERFLAGS = PIXELHANDLERFLAGS;
using SETPIXELHANDLERFLAGS = PIXELHANDLERFLAGS;

constexpr PIXELHANDLERFLAGS operator|(PIXELHANDLERFLAGS a, PIXELHANDLERFLAGS b)
{
	return static_cast<PIXELHANDLERFLAGS>(static_cast<UInt32>(a) | static_cast<UInt32>(b));
}
constexpr PIXELHANDLERFLAGS operator&(PIXELHANDLERFLAGS a, PIXELHANDLERFLAGS b)
{
	return static_cast<PIXELHANDLERFLAGS>(static_cast<UInt32>(a) & static_cast<UInt32>(b));
}
constexpr Bool HasFlag(PIXELHANDLERFLAGS flags, PIXELHANDLERFLAGS flag)
{
	return (flags & flag) != PIXELHANDLERFLAGS::NONE;
}

/// The common part of the two handler records: move-only; its end calls the free delegate once and ignores its error, Free reports it.
template <class Record>
class PixelHandlerRecord
{
public:
	PixelHandlerRecord() = default;
	PixelHandlerRecord(PixelHandlerRecord&&) noexcept = default;
	PixelHandlerRecord(const PixelHandlerRecord&) = delete;

	Delegate<Result<void>(Record&)> _freeHandler; ///< keeps alive what the handler works on

protected:
	~PixelHandlerRecord() = default;
	PixelHandlerRecord& operator=(PixelHandlerRecord&&) noexcept = default;
	Result<void> RunFree(Record& record)
	{
		const auto freeHandler = std::move(_freeHandler);
		return freeHandler ? freeHandler(record) : Result<void>(OK);
	}
};

/// Reads lines. Storage handlers serve several threads at once, handlers of composed images one. Later writes to the image may be seen.
class GetPixelHandlerStruct : public PixelHandlerRecord<GetPixelHandlerStruct>
{
public:
	GetPixelHandlerStruct() = default;
	GetPixelHandlerStruct(GetPixelHandlerStruct&&) noexcept = default;
	GetPixelHandlerStruct& operator=(GetPixelHandlerStruct&& other) noexcept
	{
		(void)Free();
		_getLine = std::move(other._getLine);
		_dstColorProfile = std::move(other._dstColorProfile);
		PixelHandlerRecord::operator=(std::move(other));
		return *this;
	}
	~GetPixelHandlerStruct() { (void)Free(); }

	/// Ends the handler; the record is empty afterwards. A second call succeeds.
	Result<void> Free()
	{
		Result<void> result = RunFree(*this);
		_getLine.Reset();
		return result;
	}

	/// Reads pos._count pixels, converted, into `destination`. IllegalArgumentError for a run outside the image. Empty: reads nothing.
	Delegate<Result<void>(const ImagePos& pos, const PixelBuffer& destination, UInt32 flags)> _getLine;
	ColorProfile _dstColorProfile; ///< the profile of the pixels that are read
};

/// Writes lines. Several threads may write separate lines by `_setLine`, and widen `_updateRegion` when they are done; SetLine is for one
/// thread. Observers of the image learn of the region when the handler is freed.
class SetPixelHandlerStruct : public PixelHandlerRecord<SetPixelHandlerStruct>
{
public:
	SetPixelHandlerStruct() = default;
	SetPixelHandlerStruct(SetPixelHandlerStruct&&) noexcept = default;
	SetPixelHandlerStruct& operator=(SetPixelHandlerStruct&& other) noexcept
	{
		(void)Free();
		_setLine = std::move(other._setLine);
		_updateRegion = other._updateRegion;
		PixelHandlerRecord::operator=(std::move(other));
		return *this;
	}
	~SetPixelHandlerStruct() { (void)Free(); }

	/// Ends the handler and notifies observers; gives their error. A second call succeeds.
	Result<void> Free()
	{
		Result<void> result = RunFree(*this);
		_setLine.Reset();
		return result;
	}

	/// Widens `_updateRegion` by the run, then writes it: what every writer of lines calls. Does nothing when there is no line writer.
	Result<void> SetLine(const ImagePos& pos, const PixelBuffer& source, UInt32 flags)
	{
		Int last = 0;
		if (pos._count > 0 && !__builtin_add_overflow(pos._x, pos._count - 1, &last))
			_updateRegion.Widen(UpdateRegion{pos._x, pos._y, last, pos._y});
		return _setLine ? _setLine(pos, source, flags) : Result<void>(OK);
	}

	/// Writes pos._count pixels from `source`, converted. IllegalArgumentError for a run outside the image.
	Delegate<Result<void>(const ImagePos& pos, const PixelBuffer& source, UInt32 flags)> _setLine;
	UpdateRegion _updateRegion = UpdateRegion::MakeEmpty(); ///< union of all that was written
};

/// Called with the region when a set handler is freed.
using RegionChangedDelegate = Delegate<Result<void>(const UpdateRegion& region, SetPixelHandlerStruct& record)>;

/// Holds the pixels of one image. Init is called once by the image; after it any thread may ask for handlers. Copied by its class's copy
/// operation when an image writes to a storage that it shares with another.
class TORVI_EXPORT ImagePixelStorageInterface : public virtual ObjectInterface
{
public:
	/// `defaultColor` is one pixel of the format, or empty; storages that hold every pixel ignore it. IllegalArgumentError for a null
	/// format or a negative size; out-of-memory error, with all members reset.
	virtual Result<void> Init(Int width, Int height, const PixelFormat& pixelFormat, Block<const Byte> defaultColor) = 0;
	virtual Int GetWidth() const = 0;
	virtual Int GetHeight() const = 0;
	virtual Int GetChannelCount() const = 0;
	virtual PixelFormat GetPixelFormat() const = 0;
	/// Lines in another format, layout and profile. The errors are those of the conversion lookup.
	virtual Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
														  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
														  GETPIXELHANDLERFLAGS flags) = 0;
	virtual Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
														  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
														  SETPIXELHANDLERFLAGS flags, const RegionChangedDelegate& regionChanged) = 0;
	virtual Result<void> FreePixelHandler(GetPixelHandlerStruct& record) = 0;
	virtual Result<void> FreePixelHandler(SetPixelHandlerStruct& record, const RegionChangedDelegate& regionChanged) = 0;
	/// The bytes of one channel of pos._count pixels, `pixelStride` bytes apart in memory. IllegalArgumentError for a channel or run
	/// outside the image.
	virtual Result<void> GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const = 0;
	virtual Result<void> SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride) = 0;
	/// Stores or reads the members; what is read replaces size, format and pixels, on failure nothing has changed. IllegalStateError
	/// "Illegal pixel format: @." for a format that is not known, and for members that do not fit each other. Colour tables of formats are
	/// not stored. The default is the UnsupportedOperationError.
	virtual Result<void> DescribeIO(DataSerialize&)
	{
		return UnsupportedOperationError("Pixel storages of class @ are not stored.", GetClassId());
	}
};

using ImagePixelStorageRef = Ref<ImagePixelStorageInterface>;

namespace ids
{
inline constexpr Id REGISTRY_IMAGEPIXELSTORAGECLASSES = "net.torvi.image.registry.imagepixelstorageclasses";
inline constexpr Id IMAGEPIXELSTORAGECLASS_NORMAL = "net.torvi.image.imagepixelstorageclass.normal";
inline constexpr Id IMAGEPIXELSTORAGECLASS_NODATA = "net.torvi.image.imagepixelstorageclass.nodata";
} // namespace ids

} // namespace torvi
