// Conversions by what they were asked for. Each is built once and kept, a failure too, until the module ends.
#pragma once

#include "host/hash.h"
#include "host/lock.h"
#include "torvi/gfx_image_colorprofile_convert.h"

namespace torvi
{

/// `Key` has GetHashCode and ==.
template <class Key>
class ConversionMap
{
public:
	/// What stands for the key, or what `build` gives for it. The lock is held while it builds, so that nobody builds the same twice; those
	/// who wait give their processor away. `build` must not come back to this map. Lack of memory says nothing about the key and is not
	/// kept.
	template <class Build>
	Result<ColorProfileConvert> FindOrBuild(const Key& key, const Build& build)
	{
		const std::lock_guard guard(_lock);
		if (const auto found = _entries.find(key); found != _entries.end())
			return found->second.GetResult();
		Result<ColorProfileConvert> built = NoThrow(build);
		if (!built.IsOk() && built.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY)
			return built;
		Entry entry;
		if (built.IsOk())
			entry._object = built.GetValue();
		else
			entry._error = built.GetError().Share();
		_entries.emplace(key, std::move(entry));
		return built;
	}

	void Clear() noexcept
	{
		Entries dropped;
		const std::lock_guard guard(_lock);
		_entries.swap(dropped); // which is destroyed when the lock is open again
	}

private:
	struct Entry
	{
		Result<ColorProfileConvert> GetResult() const { return _object ? Result<ColorProfileConvert>(_object) : _error.Share(); }

		ColorProfileConvert _object;
		Error _error;
	};
	struct Hash
	{
		std::size_t operator()(const Key& key) const { return key.GetHashCode(); }
	};
	using Entries = HashMap<Key, Entry, Hash>;

	SpinLock _lock;
	Entries _entries;
};

/// Formats and profiles of a conversion of runs.
struct RunConversionKey
{
	UInt64 GetHashCode() const
	{
		UInt64 hash = HashOf(_srcFormat);
		for (const UInt64 next :
			 {HashOf(_dstFormat), _srcProfile.GetHashCode(), _dstProfile.GetHashCode(), MixHash(_intent), MixHash(_flags)})
			hash = CombineHash(hash, next);
		return hash;
	}
	Bool operator==(const RunConversionKey& other) const
	{
		return _srcFormat->IsEqual(*other._srcFormat) && _dstFormat->IsEqual(*other._dstFormat) && _srcProfile == other._srcProfile &&
			   _dstProfile == other._dstProfile && _intent == other._intent && _flags == other._flags;
	}

	PixelFormat _srcFormat; ///< not null
	PixelFormat _dstFormat;
	ColorProfile _srcProfile;
	ColorProfile _dstProfile;
	UInt32 _intent;
	UInt32 _flags;

private:
	static UInt64 HashOf(const PixelFormat& format) { return format ? format->GetHashCodeImpl() : 0; }
};

/// Profiles of a conversion on a graphics processor.
struct GpuConversionKey
{
	UInt64 GetHashCode() const
	{
		UInt64 hash = _srcProfile.GetHashCode();
		for (const UInt64 next : {_dstProfile.GetHashCode(), MixHash(_flags1), MixHash(_flags2)})
			hash = CombineHash(hash, next);
		return hash;
	}
	Bool operator==(const GpuConversionKey& other) const = default;

	ColorProfile _srcProfile;
	ColorProfile _dstProfile;
	UInt32 _flags1;
	UInt32 _flags2;
};

} // namespace torvi
