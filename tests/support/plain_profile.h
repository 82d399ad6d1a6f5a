// A colour profile for tests of what carries profiles and never looks into them.
#pragma once

#include "torvi/gfx_image_colorprofile.h"

namespace torvi
{

/// A profile that is nothing but itself.
class PlainProfileRecord final : public ColorProfileRecordInterface
{
public:
	explicit PlainProfileRecord(ColorSpace colorSpace) : _colorSpace(std::move(colorSpace)) {}

	Result<Array<Byte>> WriteProfile() override { return Array<Byte>(); }
	String GetInfo(ColorProfileInfo) const override { return {}; }
	UInt32 GetCrc() const override { return 7; }
	Bool HasProfile() const override { return true; }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	OcioConfigRef GetOcioConfig() const override { return {}; }
	Bool IsOcio() const override { return false; }
	CString GetOcioName() const override { return ""; }
	CString GetOcioSecondName() const override { return ""; }

private:
	ColorSpace _colorSpace;
};

/// Each call gives a profile that equals no other.
inline ColorProfile MakePlainProfile(ColorSpace colorSpace = {})
{
	return ColorProfile(NewObject<PlainProfileRecord>(std::move(colorSpace)).TakeValue());
}

} // namespace torvi
