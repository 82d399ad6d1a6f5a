// The lookup of conversions: from what is remembered, from what either side converts directly, channel by channel, or by way of an
// intermediate format. Nothing is locked while a conversion is searched, since the search may come back to this format.
#include "host/job.h"
#include "pixelformat/channel_plan.h"
#include "pixelformat/conversion_functions.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "torvi/ids_formats.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr UInt32 BLACK_POINT_COMPENSATION = 1;

Result<void> CheckOffsets(const PixelFormatInterface& format, const ChannelOffsets& offsets)
{
	const std::size_t needed = format.GetChannelOffsets().size();
	TORVI_CHECK(offsets.size() == needed, IllegalArgumentError("@ needs @ channel offsets, not @.", format, needed, offsets.size()));
	return OK;
}

/// Colours, and alpha where both sides have it, in 8 bits. Radiance pixels go through half floats, since 8 bits would cut them off.
Result<PixelFormat> FindIntermediate(const PixelFormatInterface& dstFormat, const PixelFormat& srcFormat)
{
	const Bool isRadiance = srcFormat == GetPixelFormat(ids::PIXELFORMAT_RGB_RGBE);
	const DataType dataType = isRadiance ? GetDataType<HalfFloat>() : GetDataType<UChar>();
	const ImageChannel channels[] = {GetImageChannel(CHANNELTYPE::ALPHA, dataType), GetImageChannel(CHANNELTYPE::RED, dataType),
									 GetImageChannel(CHANNELTYPE::GREEN, dataType), GetImageChannel(CHANNELTYPE::BLUE, dataType)};
	const Bool hasAlpha = srcFormat->HasAlpha() && dstFormat.HasAlpha();
	return FindOrCreatePixelFormat(Block<const ImageChannel>(channels).subspan(hasAlpha ? 0 : 1));
}

} // namespace

/// Keeps a lookup from coming back to itself: one job searches a pair of formats once at a time.
class PixelFormatBaseImpl::LookupGuard
{
public:
	explicit LookupGuard(const PixelFormatBaseImpl& format) : _format(format) {}
	LookupGuard(const LookupGuard&) = delete;
	LookupGuard& operator=(const LookupGuard&) = delete;
	~LookupGuard()
	{
		if (!_isEntered)
			return;
		const std::lock_guard guard(_format._cacheLock);
		LookupInProgress** link = &_format._inProgress;
		while (*link != &_record)
			link = &(*link)->_next;
		*link = _record._next;
	}

	/// False if the job searches the pair already. Called under the format's lock.
	Bool Enter(UInt64 job, const PixelFormatInterface* srcFormat)
	{
		for (const LookupInProgress* other = _format._inProgress; other != nullptr; other = other->_next)
		{
			if (other->_job == job && other->_srcFormat == srcFormat)
				return false;
		}
		_record = {job, srcFormat, _format._inProgress};
		_format._inProgress = &_record;
		_isEntered = true;
		return true;
	}

private:
	const PixelFormatBaseImpl& _format;
	LookupInProgress _record = {};
	Bool _isEntered = false;
};

Result<ConvertPixelFunc> PixelFormatBaseImpl::GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
																  const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile,
																  ColorProfile* dstProfile, Bool forceProfiles,
																  Bool& isColorConverted) const
{
	return GetConvertPixelFunc(srcFormat, srcOffsets, dstOffsets, srcProfile, dstProfile, forceProfiles, BLACK_POINT_COMPENSATION,
							   isColorConverted);
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
																  const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile,
																  ColorProfile* dstProfile, Bool forceProfiles, UInt32 flags,
																  Bool& isColorConverted) const
{
	const ConversionRequest request = {srcFormat, srcOffsets, dstOffsets, srcProfile, dstProfile, forceProfiles, flags, isColorConverted};
	return NoThrow([&]() { return FindConversion(request, isColorConverted); });
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::FindConversion(const ConversionRequest& request, Bool& isColorConverted) const
{
	TORVI_CHECK(request._srcFormat, IllegalArgumentError("srcformat must not be nullptr."));
	TORVI_TRY(CheckOffsets(*request._srcFormat, request._srcOffsets));
	TORVI_TRY(CheckOffsets(*this, request._dstOffsets));
	ColorProfile srcProfile = request._srcProfile != nullptr ? *request._srcProfile : ColorProfile();
	if (!srcProfile.IsEmpty() || (request._dstProfile != nullptr && !request._dstProfile->IsEmpty()))
	{
		if (const auto stage = FindDeclared<ColorConversionStageInterface>(ids::INTERFACE_COLORCONVERSIONSTAGE))
		{
			ConvertPixelFunc function =
				TORVI_TRY(stage->FindConversion(*this, request._srcFormat, request._srcOffsets, request._dstOffsets, srcProfile,
												request._dstProfile, request._forceProfiles, request._flags, isColorConverted));
			if (function)
				return function;
		}
	}
	return FindRemembered(request, srcProfile, isColorConverted);
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::FindRemembered(const ConversionRequest& request, const ColorProfile& srcProfile,
															 Bool& isColorConverted) const
{
	const PixelFormatInterface& srcFormat = *request._srcFormat;
	const Bool fastLayout = !request._isInner && !isColorConverted && IsOwnLayout(request._srcOffsets) && IsOwnLayout(request._dstOffsets);
	const ConversionKey key = {srcFormat.GetUniqueId(), fastLayout, request._srcOffsets, request._dstOffsets};
	const UInt64 hash = key.GetHashCode();
	const UInt64 job = GetCurrentJobKey();
	LookupGuard guard(*this);
	{
		std::unique_lock lock(_cacheLock);
		if (const ConvertPixelFunc* const found = _cache.Find(key, hash))
			return *found;
		const Bool isEntered = guard.Enter(job, &srcFormat);
		lock.unlock();
		TORVI_CHECK(isEntered, IllegalStateError("Recursion check"));
	}
	ConvertPixelFunc function = TORVI_TRY(SearchConversion(request, srcProfile, fastLayout, isColorConverted));
	if (request._isInner || isColorConverted)
		return function;
	return Remember(key, hash, function);
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::SearchConversion(const ConversionRequest& request, const ColorProfile& srcProfile,
															   Bool fastLayout, Bool& isColorConverted) const
{
	const PixelFormat& srcFormat = request._srcFormat;
	ConvertPixelFunc function =
		TORVI_TRY(GetConvertPixelFromFunc(srcFormat, request._srcOffsets, request._dstOffsets, fastLayout, isColorConverted));
	if (!function)
	{
		const PixelFormat dstFormat(const_cast<PixelFormatBaseImpl*>(this));
		function =
			TORVI_TRY(srcFormat->GetConvertPixelToFunc(dstFormat, request._dstOffsets, request._srcOffsets, fastLayout, isColorConverted));
	}
	if (!function)
		function = TORVI_TRY(PlanByChannels(*srcFormat, request._srcOffsets, *this, request._dstOffsets));
	if (function)
		return function;
	Result<ConvertPixelFunc> composed = ConvertByIntermediate(request, srcProfile, isColorConverted);
	if (composed.IsOk() || composed.GetError().GetId() == errorids::OUTOFMEMORY)
		return composed;
	Error error = IllegalStateError("No pixel conversion found from '@' to '@'", srcFormat, *this);
	error.SetCause(composed.TakeError());
	return error;
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::ConvertByIntermediate(const ConversionRequest& request, const ColorProfile& srcProfile,
																	Bool& isColorConverted) const
{
	const PixelFormat intermediate = TORVI_TRY(FindIntermediate(*this, request._srcFormat));
	const Ref<PixelFormatBaseImpl> lookup = Cast<PixelFormatBaseImpl>(intermediate);
	TORVI_CHECK(lookup, IllegalStateError("@ can not be an intermediate format.", intermediate));
	const ChannelOffsets& offsets = intermediate->GetChannelOffsets();
	ColorProfile profile = srcProfile;
	Bool isFirstConverted = false; // unlike the request's own flag, these tell whether profiles are converted on the way
	Bool isSecondConverted = false;
	const ConversionRequest first = {request._srcFormat, request._srcOffsets,    offsets,        &srcProfile,
									 &profile,           request._forceProfiles, request._flags, true};
	const ConvertPixelFunc toIntermediate = TORVI_TRY(lookup->FindConversion(first, isFirstConverted));
	const ConversionRequest second = {intermediate,   offsets, request._dstOffsets, &profile, request._dstProfile, request._forceProfiles,
									  request._flags, true};
	const ConvertPixelFunc fromIntermediate = TORVI_TRY(FindConversion(second, isSecondConverted));
	isColorConverted |= isFirstConverted || isSecondConverted;
	return ComposeFunctions(toIntermediate, fromIntermediate, intermediate->GetBitsPerPixel());
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::Remember(const ConversionKey& key, UInt64 hash, const ConvertPixelFunc& function) const
{
	Ref<ConversionEntry> entry = TORVI_TRY(NewObject<ConversionEntry>(key, hash, function));
	Ref<ConversionEntry> dropped;
	const std::lock_guard guard(_cacheLock); // destroyed before the entries are dropped
	if (const ConvertPixelFunc* const found = _cache.Find(key, hash))
		return *found;
	dropped = _cache.Insert(std::move(entry));
	return function;
}

Bool PixelFormatBaseImpl::IsOwnLayout(const ChannelOffsets& offsets) const
{
	return std::ranges::equal(offsets, GetChannelOffsets());
}

} // namespace torvi
