// Text on a canvas: UTF-8 in the fonts of the system, each character in the first font that has it, a box where none does. Right-to-left
// text is put in order and Arabic letters are joined. FreeType draws, fontconfig finds fonts, FriBidi orders.
#pragma once

#include "tools/sheet_canvas.h"

#include <memory>
#include <string_view>

namespace torvi::tool
{

struct TextStyle
{
	int _pixelSize = 12;
	Bool _isBold = false;
	Colour _colour;
};

/// From one thread.
class TextDrawer
{
public:
	TextDrawer();
	~TextDrawer();
	TextDrawer(const TextDrawer&) = delete;
	TextDrawer& operator=(const TextDrawer&) = delete;

	/// Without a font nothing is drawn, and every text has the width 0.
	Bool HasFont() const;
	/// Width in pixels.
	Int Measure(std::string_view text, const TextStyle& style);
	/// Draws from `x` on, with the letters standing on the line `baseline`, and gives the width. A text that is wider than `width` is cut
	/// and ends in an ellipsis.
	Int Draw(Canvas& canvas, Int x, Int baseline, Int width, std::string_view text, const TextStyle& style);

private:
	class Fonts;
	std::unique_ptr<Fonts> _fonts;
};

} // namespace torvi::tool
