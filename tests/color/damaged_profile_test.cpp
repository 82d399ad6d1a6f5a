// Damaged ICC profiles and failing allocations: an error or a profile, never a crash or a leak. The sanitizers watch.
#include "color/registration.h"
#include "tests/color/color_fixture.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"

#include <algorithm>
#include <vector>

namespace torvi::test
{

namespace
{

/// Everything that a profile can be asked. True if it opened.
Bool Use(const Result<ColorProfile>& profile)
{
	if (!profile.IsOk())
	{
		EXPECT_FALSE(profile.GetError().GetMessage().empty());
		return false;
	}
	for (UInt32 selector = 0; selector < 6; ++selector)
		profile.GetValue().GetInfo(static_cast<ColorProfileInfo>(selector));
	EXPECT_TRUE(profile.GetValue().WriteProfileToMemory().IsOk());
	return true;
}

Int OpenBothWays(const Array<Byte>& bytes)
{
	return Int(Use(ColorProfile::OpenProfileFromMemory(bytes))) + Int(Use(ColorProfile::OpenProfileFromFile(MakeFailingUrl(bytes, {}))));
}

/// Profiles of several shapes: matrix with curves, grey, and tables with text in version 2 and 4.
std::vector<Array<Byte>> MakeProfiles()
{
	return {MakeRgbProfile(L"Matrix"), BytesOf(IccProfile(cmsCreateBCHSWabstractProfile(3, 1, 1, 0, 0, 0, 0))),
			BytesOf(IccProfile(cmsCreateLab2Profile(nullptr))), BytesOf(IccProfile(cmsCreateNULLProfile()))};
}

using DamagedProfile = ColorTest;

TEST_F(DamagedProfile, CutAnywhereAndAnyByteChanged)
{
	Int opened = 0;
	for (const Array<Byte>& good : MakeProfiles())
	{
		EXPECT_EQ(OpenBothWays(good), 2);
		for (std::size_t place = 0; place < good.size(); ++place)
		{
			OpenBothWays(Array<Byte>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(place)));
			for (const Byte value : std::initializer_list<Byte>{0x00, 0x01, 0x7F, 0x80, 0xFF})
			{
				Array<Byte> bytes = good;
				bytes[place] = value;
				opened += OpenBothWays(bytes);
			}
		}
	}
	EXPECT_GT(opened, 1000);
}

class FailingMemory : public ColorTest
{
protected:
	/// Fails each allocation in turn. Every result must be an error that says so, or a success; the library's own texts would hide the
	/// reason.
	template <class Operation>
	static void Sweep(Operation&& operation)
	{
		const Int count = ForEachAllocationFailure(
			operation,
			[&](const auto& result, Bool hasFailed)
			{
				EXPECT_TRUE(hasFailed || result.IsOk()) << result.GetError().ToString();
				EXPECT_TRUE(result.IsOk() || result.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY)
					<< result.GetError().ToString();
			});
		EXPECT_GT(count, 0);
	}
};

TEST_F(FailingMemory, Opening)
{
	const Array<Byte> bytes = MakeRgbProfile(L"Memory");
	const Url url = MakeFailingUrl(bytes, {});
	Sweep([&]() { return ColorProfile::OpenProfileFromMemory(bytes); });
	Sweep([&]() { return ColorProfile::OpenProfileFromFile(url); });
	EXPECT_TRUE(Use(ColorProfile::OpenProfileFromMemory(bytes)));
}

TEST_F(FailingMemory, Transforms)
{
	const OcioConfigRef config = MakeConfig("/ocio/a configuration with a long path");
	const ColorProfile profile = TORVI_MUST(ColorProfile::CreateProfile(config, "a view with a long name", "a display with a long name"));
	const Array<Byte> blob = TORVI_MUST(profile.WriteProfileToMemory());
	Sweep([&]() { return ColorProfile::CreateProfile(config, "another view with a long name", "a display with a long name"); });
	Sweep([&]() { return profile.WriteProfileToMemory(); });
	Sweep([&]() { return ColorProfile::OpenProfileFromMemory(blob); });
}

TEST_F(FailingMemory, Starting)
{
	_host.reset();
	Sweep(
		[]()
		{
			HostServices services;
			Module module(services);
			Result<void> result = services.Init();
			g_torvi = &services;
			if (result.IsOk())
				result = NoThrow([&]() { return RegisterColor(module); });
			module.RunEnd();
			g_torvi = nullptr;
			services.Clear();
			return result;
		});
}

} // namespace

} // namespace torvi::test
