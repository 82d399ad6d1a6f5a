// Several threads that ask for conversions and run them.
#include "tests/color/color_fixture.h"

#include <atomic>
#include <thread>

namespace torvi::test
{

namespace
{

TEST_F(ConversionTest, ThreadsAskAndConvertAtOnce)
{
	constexpr Int THREADS = 4, ROUNDS = 40, PIXELS = 100;
	constexpr const char* FORMATS[] = {"rgb.u8", "rgba.u8", "rgb.u16", "rgba.f32", "abgr.u8"};
	const Array<Byte> wideBytes = TORVI_MUST(_wide.WriteProfileToMemory());
	std::atomic<Int> failures{0};
	const auto work = [&](Int seed)
	{
		for (Int i = 0; i < ROUNDS; ++i)
		{
			const PixelFormat from = FormatOf(FORMATS[(i + seed) % 5]), to = FormatOf(FORMATS[(i * 3 + 1) % 5]);
			const Result<ColorProfileConvert> conversion =
				GetConversions()->Init(from, i % 2 == 0 ? _wide : _srgb, to, i % 2 == 0 ? _linear : _wide, {}, static_cast<UInt32>(i / 20));
			const std::vector<Byte> source(PIXELS * 16, 77);
			std::vector<Byte> destination(PIXELS * 16);
			const Bool isDone = conversion.IsOk() && conversion.GetValue()
														 ->Convert(PixelBuffer(source.data(), from->GetBitsPerPixel()),
																   PixelBuffer(destination.data(), to->GetBitsPerPixel()), PIXELS)
														 .IsOk();
			const Bool isRefused = !GetConversions()->Init(from, {}, to, _srgb, {}, static_cast<UInt32>(i)).IsOk();
			const Bool isFound = TORVI_MUST(ColorProfile::OpenProfileFromMemory(wideBytes)) == _wide;
			const ColorProfile passing = TORVI_MUST(ColorProfile::OpenProfileFromMemory(MakeRgbProfile(L"Passing"))); // comes and goes
			failures += isDone && isRefused && isFound && passing.HasProfile() ? 0 : 1;
		}
	};
	std::vector<std::jthread> threads;
	for (Int i = 0; i < THREADS; ++i)
		threads.emplace_back(work, i);
	threads.clear();
	EXPECT_EQ(failures, 0);
}

} // namespace

} // namespace torvi::test
