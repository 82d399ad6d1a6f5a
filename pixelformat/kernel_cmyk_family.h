// Between CMYK formats: the same ink in another data type, or its complement. The complement is taken in the source's type, ~v or 1 - v,
// and then converted as between fixed formats.
#pragma once

#include "pixelformat/kernel_cmyk_side.h"
#include "pixelformat/kernel_run.h"

namespace torvi
{

/// A conversion for given layouts of two formats with as many channels: a plain value that may be copied and kept.
class CmykFamilyConversion
{
public:
	CmykFamilyConversion(const CmykSide& destination, const CmykSide& source, bool isComplement);

	/// Any strides; source and destination must not overlap. Where neither type nor polarity change, they may be one buffer with equal
	/// strides, and channels may change places in it.
	void Run(const KernelRun& run) const;

private:
	void RunPacked(const KernelRun& run) const;
	void RunByChannels(const KernelRun& run) const;
	void CopyByChannels(const KernelRun& run) const;

	CmykSide _destination;
	CmykSide _source;
	RunKernel _moveInks;
	RunKernel _moveAlpha;
	bool _isComplement;
};

} // namespace torvi
