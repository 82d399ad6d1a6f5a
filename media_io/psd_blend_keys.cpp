// Blend modes of PSD files.
#include "media_io/psd_blend_keys.h"

#include "torvi/gfx_image_pixelblend.h"

namespace torvi
{

namespace
{

enum class Direction
{
	BOTH,
	READ,
	WRITE
};

struct BlendKey
{
	UInt32 _key;
	Id _mode;
	Direction _direction = Direction::BOTH;
};

/// The four modes of colours mix other models than the format's, and are not written; `add` has no key that other programs know.
constexpr BlendKey BLEND_KEYS[] = {
	{PSD_BLENDKEY_NORMAL, ids::BLENDMODE_OVER},
	{PsdKey("diss"), ids::BLENDMODE_DISSOLVE},
	{PsdKey("dark"), ids::BLENDMODE_DARKEN},
	{PsdKey("mul "), ids::BLENDMODE_MULTIPLY},
	{PsdKey("idiv"), ids::BLENDMODE_COLORBURN},
	{PsdKey("lbrn"), ids::BLENDMODE_LINEARBURN},
	{PsdKey("lite"), ids::BLENDMODE_LIGHTEN},
	{PsdKey("scrn"), ids::BLENDMODE_SCREEN},
	{PsdKey("div "), ids::BLENDMODE_COLORDODGE},
	{PsdKey("lddg"), ids::BLENDMODE_LINEARDODGE},
	{PsdKey("lddg"), ids::BLENDMODE_ADD, Direction::WRITE},
	{PsdKey("add "), ids::BLENDMODE_ADD, Direction::READ},
	{PsdKey("over"), ids::BLENDMODE_OVERLAY},
	{PsdKey("sLit"), ids::BLENDMODE_SOFTLIGHT},
	{PsdKey("hLit"), ids::BLENDMODE_HARDLIGHT},
	{PsdKey("lLit"), ids::BLENDMODE_STAMP},
	{PsdKey("pLit"), ids::BLENDMODE_PINLIGHT},
	{PsdKey("hMix"), ids::BLENDMODE_HARDMIX},
	{PsdKey("diff"), ids::BLENDMODE_DIFFERENCE},
	{PsdKey("smud"), ids::BLENDMODE_EXCLUSION},
	{PsdKey("hue "), ids::BLENDMODE_HUE, Direction::READ},
	{PsdKey("sat "), ids::BLENDMODE_SATURATION, Direction::READ},
	{PsdKey("colr"), ids::BLENDMODE_COLOR, Direction::READ},
	{PsdKey("lum "), ids::BLENDMODE_LUMINANCE, Direction::READ},
	{PsdKey("pass"), ids::BLENDMODE_PASSFOLDER},
};

} // namespace

const Id& FindPsdBlendMode(UInt32 key) noexcept
{
	for (const BlendKey& row : BLEND_KEYS)
	{
		if (row._key == key && row._direction != Direction::WRITE)
			return row._mode;
	}
	return ids::BLENDMODE_OVER;
}

UInt32 FindPsdBlendKey(const Id& mode) noexcept
{
	for (const BlendKey& row : BLEND_KEYS)
	{
		if (row._mode == mode && row._direction != Direction::READ)
			return row._key;
	}
	return PSD_BLENDKEY_NORMAL;
}

} // namespace torvi
