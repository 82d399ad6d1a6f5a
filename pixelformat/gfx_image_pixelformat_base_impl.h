// What all pixel formats share: sizes, text forms, comparison, and the lookup of conversions with its memory. A family derives from this
// class and adds its channels, offsets, colour space and direct conversions.
#pragma once

#include "host/module.h"
#include "pixelformat/conversion_cache.h"

namespace torvi
{

/// What a lookup is asked for; see PixelFormatInterface::GetConvertPixelFunc.
struct ConversionRequest
{
	const PixelFormat& _srcFormat;
	const ChannelOffsets& _srcOffsets;
	const ChannelOffsets& _dstOffsets;
	const ColorProfile* _srcProfile;
	ColorProfile* _dstProfile;
	Bool _forceProfiles;
	UInt32 _flags;
	Bool _isInner; ///< half of a composed function: takes no fast layout and is not remembered
};

class PixelFormatBaseImpl : public virtual PixelFormatInterface
{
public:
	PixelFormatBaseImpl();
	/// A copy is a format of its own: it has another unique id and remembers nothing yet.
	PixelFormatBaseImpl(const PixelFormatBaseImpl& other);

	Result<void> Init(const PixelFormatGroup& group, CString shortName) override;
	PixelFormatGroup GetPixelFormatGroup() const override { return _group; }
	Result<Byte*> CreatePix(Int width, Int height, Int lineAlignment) const override;
	BITS GetBitsPerPixel() const override;
	Int GetBytesPerLine(Int width, Int lineAlignment) const override;
	Int GetPackedPixelCount() const override { return 1; }
	Bool HasAlpha() const override { return false; }
	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override;
	ColorProfile GetDefaultColorProfile() const override;
	Result<ConvertPixelFunc> GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
												 const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile, ColorProfile* dstProfile,
												 Bool forceProfiles, Bool& isColorConverted) const override;
	Result<ConvertPixelFunc> GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
												 const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile, ColorProfile* dstProfile,
												 Bool forceProfiles, UInt32 flags, Bool& isColorConverted) const override;
	Result<void> ConvertPixelFromSlow(const PixelBuffer& destination, Int count, const PixelBuffer& source, const ColorProfile* srcProfile,
									  ColorProfile* dstProfile, Bool forceProfiles, UInt32 convertFlags) const override;
	/// Compares the channels of GetChannels; formats without channels override it.
	Bool IsIdenticalPixel(const PixelBuffer& pixel1, const PixelBuffer& pixel2, UChar threshold) const override;
	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool fastLayout,
												   Bool& isColorConverted) const override;
	CString GetShortName() const override { return _shortName; }
	UInt64 GetUniqueId() const override { return _uniqueId; }

	/// The channels' labels and bits, such as "ARGB8" or "R5G6B5".
	String ToString(std::string_view format) const override;

protected:
	/// The profile of a format of that colour space and data type: the nonlinear default for integers, the linear one for floats.
	static ColorProfile DefaultProfileOf(const ColorSpace& colorSpace, DataType dataType);
	/// The offsets of the buffer, or this format's own where it has none.
	const ChannelOffsets& OffsetsOf(const PixelBuffer& buffer) const;

private:
	/// A lookup that runs now; the records lie on the stacks of those lookups.
	struct LookupInProgress
	{
		UInt64 _job;
		const PixelFormatInterface* _srcFormat;
		LookupInProgress* _next;
	};
	class LookupGuard;

	Result<ConvertPixelFunc> FindConversion(const ConversionRequest& request, Bool& isColorConverted) const;
	Result<ConvertPixelFunc> FindRemembered(const ConversionRequest& request, const ColorProfile& srcProfile, Bool& isColorConverted) const;
	Result<ConvertPixelFunc> SearchConversion(const ConversionRequest& request, const ColorProfile& srcProfile, Bool fastLayout,
											  Bool& isColorConverted) const;
	Result<ConvertPixelFunc> ConvertByIntermediate(const ConversionRequest& request, const ColorProfile& srcProfile,
												   Bool& isColorConverted) const;
	Result<ConvertPixelFunc> Remember(const ConversionKey& key, UInt64 hash, const ConvertPixelFunc& function) const;
	Bool IsOwnLayout(const ChannelOffsets& offsets) const;

	mutable SpinLock _cacheLock;
	mutable ConversionCache _cache;                  // under the lock
	mutable LookupInProgress* _inProgress = nullptr; // under the lock
	PixelFormatGroup _group;
	CString _shortName = "";
	const UInt64 _uniqueId;
};

Result<void> RegisterPixelFormatBase(Module& module);

} // namespace torvi
