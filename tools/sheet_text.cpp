// Text on a canvas.
#include "tools/sheet_text.h"

#include <fontconfig/fontconfig.h>
#include <freetype/freetype.h>
#include <fribidi.h>
#include <map>
#include <string>
#include <utf8proc.h>
#include <vector>

namespace torvi::tool
{

namespace
{

constexpr char32_t ELLIPSIS = U'\u2026';
constexpr char32_t REPLACEMENT = U'\uFFFD';
constexpr std::size_t LENGTH_LIMIT = 512; ///< characters; no line of a sheet is longer

template <auto FREE>
struct Freer
{
	template <class T>
	void operator()(T* object) const
	{
		FREE(object);
	}
};

using Config = std::unique_ptr<FcConfig, Freer<&FcConfigDestroy>>;
using Pattern = std::unique_ptr<FcPattern, Freer<&FcPatternDestroy>>;
using FontSet = std::unique_ptr<FcFontSet, Freer<&FcFontSetDestroy>>;
using Library = std::unique_ptr<FT_LibraryRec_, Freer<&FT_Done_FreeType>>;
using Face = std::unique_ptr<FT_FaceRec_, Freer<&FT_Done_Face>>;

/// What takes no room: joiners, marks of direction and other characters of format.
Bool IsInvisible(char32_t character)
{
	return utf8proc_category(static_cast<utf8proc_int32_t>(character)) == UTF8PROC_CATEGORY_CF;
}

/// The characters of a text in their composed forms. Bytes that are no UTF-8 become replacement characters, controls become blanks.
std::u32string Decode(std::string_view text)
{
	std::u32string characters;
	while (!text.empty() && characters.size() < LENGTH_LIMIT)
	{
		utf8proc_int32_t character = 0;
		const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
											 static_cast<utf8proc_ssize_t>(text.size()), &character);
		text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
		const auto category = utf8proc_category(character);
		const Bool isControl = category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL || category == UTF8PROC_CATEGORY_ZP;
		characters.push_back(length <= 0 ? REPLACEMENT : isControl ? U' ' : static_cast<char32_t>(character));
	}
	std::vector<utf8proc_int32_t> composed(characters.begin(), characters.end());
	const auto options = static_cast<utf8proc_option_t>(UTF8PROC_COMPOSE | UTF8PROC_STABLE);
	const auto count = utf8proc_normalize_utf32(composed.data(), static_cast<utf8proc_ssize_t>(composed.size()), options);
	return count < 0 ? characters : std::u32string(composed.begin(), composed.begin() + count);
}

/// The characters from left to right, Arabic letters in the forms that they have beside their neighbours.
std::u32string OrderVisually(const std::u32string& logical)
{
	std::vector<FriBidiChar> source(logical.begin(), logical.end());
	std::vector<FriBidiChar> ordered(source.size() + 1);
	FriBidiParType direction = FRIBIDI_PAR_LTR;
	const FriBidiLevel levels =
		fribidi_log2vis(source.data(), static_cast<FriBidiStrIndex>(source.size()), &direction, ordered.data(), nullptr, nullptr, nullptr);
	return levels == 0 ? logical : std::u32string(ordered.begin(), ordered.end() - 1);
}

} // namespace

/// The fonts of the system, in the order in which they are asked for characters.
class TextDrawer::Fonts
{
public:
	Fonts();
	Bool HasFont() const { return _library && _sets[0] && _sets[0]->nfont > 0; }
	/// The characters' width; with a canvas they are drawn.
	Int Run(const std::u32string& characters, const TextStyle& style, Canvas* canvas, Int x, Int baseline);
	/// The text in visual order, or as much of it as fits into `width` with an ellipsis behind; nothing where not even that does.
	std::u32string Fit(const std::u32string& characters, Int width, const TextStyle& style);

private:
	/// The open font with its size set, and the glyph; no face where no font has the character.
	struct Glyph
	{
		FT_Face _face = nullptr;
		FT_UInt _index = 0;
	};
	FontSet Sort(Bool isBold) const;
	FT_Face Open(FcPattern* font);
	Glyph Find(char32_t character, const TextStyle& style);
	Int Advance(char32_t character, const TextStyle& style, Canvas* canvas, Int x, Int baseline);

	Config _config;
	FontSet _sets[2]; ///< regular, bold
	Library _library;
	std::map<FcPattern*, Face> _faces; ///< null for a font that does not open
};

namespace
{

/// Stands for a character that no font has.
Int DrawBox(const TextStyle& style, Canvas* canvas, Int x, Int baseline)
{
	const Int height = style._pixelSize * 7 / 10;
	const Int width = style._pixelSize / 2;
	if (canvas != nullptr)
		canvas->DrawFrame({{x + 1, baseline - height}, {width, height}}, style._colour);
	return width + 2;
}

void DrawBitmap(const FT_GlyphSlotRec& glyph, const Colour& colour, Canvas& canvas, Int x, Int baseline)
{
	const FT_Bitmap& bitmap = glyph.bitmap;
	for (Int row = 0; bitmap.pixel_mode == FT_PIXEL_MODE_GRAY && row < static_cast<Int>(bitmap.rows); ++row)
	{
		for (Int column = 0; column < static_cast<Int>(bitmap.width); ++column)
			canvas.Blend(x + glyph.bitmap_left + column, baseline - glyph.bitmap_top + row, colour,
						 bitmap.buffer[row * bitmap.pitch + column]);
	}
}

} // namespace

TextDrawer::Fonts::Fonts() : _config(FcInitLoadConfigAndFonts())
{
	FT_Library library = nullptr;
	if (FT_Init_FreeType(&library) == 0)
		_library.reset(library);
	if (_config)
	{
		_sets[0] = Sort(false);
		_sets[1] = Sort(true);
	}
}

FontSet TextDrawer::Fonts::Sort(Bool isBold) const
{
	const Pattern pattern(FcPatternCreate());
	for (const char* family : {"DejaVu Sans", "sans-serif"})
		FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
	FcPatternAddInteger(pattern.get(), FC_WEIGHT, isBold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
	FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
	FcConfigSubstitute(_config.get(), pattern.get(), FcMatchPattern);
	FcDefaultSubstitute(pattern.get());
	FcResult result = FcResultMatch;
	return FontSet(FcFontSort(_config.get(), pattern.get(), FcTrue, nullptr, &result));
}

FT_Face TextDrawer::Fonts::Open(FcPattern* font)
{
	const auto [found, isNew] = _faces.try_emplace(font);
	FcChar8* file = nullptr;
	int index = 0;
	FcBool isOutline = FcFalse;
	FcPatternGetBool(font, FC_OUTLINE, 0, &isOutline); // coloured bitmaps have no outline
	FcPatternGetInteger(font, FC_INDEX, 0, &index);
	if (isNew && isOutline == FcTrue && FcPatternGetString(font, FC_FILE, 0, &file) == FcResultMatch)
	{
		FT_Face face = nullptr;
		if (FT_New_Face(_library.get(), reinterpret_cast<const char*>(file), index, &face) == 0)
			found->second.reset(face);
	}
	return found->second.get();
}

TextDrawer::Fonts::Glyph TextDrawer::Fonts::Find(char32_t character, const TextStyle& style)
{
	const FontSet& fonts = _sets[style._isBold ? 1 : 0];
	for (int i = 0; fonts && i < fonts->nfont; ++i)
	{
		FcCharSet* covered = nullptr;
		if (FcPatternGetCharSet(fonts->fonts[i], FC_CHARSET, 0, &covered) != FcResultMatch ||
			FcCharSetHasChar(covered, character) == FcFalse)
			continue;
		FT_Face face = Open(fonts->fonts[i]);
		const FT_UInt index = face != nullptr ? FT_Get_Char_Index(face, character) : 0;
		if (index != 0 && FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(style._pixelSize)) == 0)
			return {face, index};
	}
	return {};
}

Int TextDrawer::Fonts::Advance(char32_t character, const TextStyle& style, Canvas* canvas, Int x, Int baseline)
{
	if (IsInvisible(character))
		return 0;
	const Glyph glyph = Find(character, style);
	const FT_Int32 flags = FT_LOAD_TARGET_LIGHT | (canvas != nullptr ? FT_LOAD_RENDER : FT_LOAD_DEFAULT);
	if (glyph._face == nullptr || FT_Load_Glyph(glyph._face, glyph._index, flags) != 0)
		return DrawBox(style, canvas, x, baseline);
	if (canvas != nullptr)
		DrawBitmap(*glyph._face->glyph, style._colour, *canvas, x, baseline);
	return (glyph._face->glyph->advance.x + 32) >> 6; // 26.6 fixed point
}

Int TextDrawer::Fonts::Run(const std::u32string& characters, const TextStyle& style, Canvas* canvas, Int x, Int baseline)
{
	Int width = 0;
	for (const char32_t character : characters)
		width += Advance(character, style, canvas, x + width, baseline);
	return width;
}

std::u32string TextDrawer::Fonts::Fit(const std::u32string& characters, Int width, const TextStyle& style)
{
	const auto cut = [&](std::size_t count)
	{
		while (count > 0 && characters[count - 1] == U' ')
			--count;
		return OrderVisually(characters.substr(0, count) + ELLIPSIS);
	};
	const auto fits = [&](const std::u32string& ordered) { return Run(ordered, style, nullptr, 0, 0) <= width; };
	if (std::u32string whole = OrderVisually(characters); fits(whole))
		return whole;
	std::size_t kept = 0;
	std::size_t tooMany = characters.size();
	while (kept + 1 < tooMany)
	{
		const std::size_t middle = (kept + tooMany) / 2;
		(fits(cut(middle)) ? kept : tooMany) = middle;
	}
	std::u32string shown = cut(kept);
	return fits(shown) ? shown : std::u32string();
}

TextDrawer::TextDrawer() : _fonts(std::make_unique<Fonts>()) {}

TextDrawer::~TextDrawer() = default;

Bool TextDrawer::HasFont() const
{
	return _fonts->HasFont();
}

Int TextDrawer::Measure(std::string_view text, const TextStyle& style)
{
	return HasFont() ? _fonts->Run(OrderVisually(Decode(text)), style, nullptr, 0, 0) : 0;
}

Int TextDrawer::Draw(Canvas& canvas, Int x, Int baseline, Int width, std::string_view text, const TextStyle& style)
{
	if (!HasFont())
		return 0;
	return _fonts->Run(_fonts->Fit(Decode(text), width, style), style, &canvas, x, baseline);
}

} // namespace torvi::tool
