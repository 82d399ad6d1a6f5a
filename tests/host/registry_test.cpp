// Registries, services and registration.
#include "expect_out_of_memory.h"

#include "host/ids.h"
#include "host/registration.h"

#include <thread>

namespace torvi::test
{
namespace
{

int s_lastEnded = 0;

struct Numbered : ObjectInterface
{
	explicit Numbered(int number) : _number(number) {}
	~Numbered() override { s_lastEnded = _number; }
	int _number;
};

class RegistryTest : public ::testing::Test
{
protected:
	RegistryTest()
	{
		TORVI_MUST(_host.Init());
		g_torvi = &_host;
	}
	~RegistryTest() override
	{
		_module.RunEnd();
		_host.Clear();
		g_torvi = nullptr;
	}

	HostServices _host;
	Module _module{_host};
};

TEST_F(RegistryTest, WalksInOrderOfInsertion)
{
	RegistryRef registry = TORVI_MUST(_host.GetRegistry("net.torvi.registry.test"));
	EXPECT_EQ(TORVI_MUST(_host.GetRegistry("net.torvi.registry.test")), registry);
	const Id ids[] = {"c", "a", "b"};
	for (const Id& id : ids)
		TORVI_MUST(registry->InsertEntry(id, TORVI_MUST(NewObject<Numbered>(static_cast<int>(id.GetText()[0])))));
	String order;
	for (Registry::Iterator it = registry->CreateIterator(); it.HasValue(); it.MoveToNext())
		order += it.GetEntryId().GetText();
	EXPECT_EQ(order, "cab");
	EXPECT_FALSE(registry->Find("d"));
	EXPECT_EQ(ErrorIdOf(registry->InsertEntry("d", nullptr)), errorids::ILLEGALARGUMENT.GetText());
	EXPECT_EQ(ErrorIdOf(registry->InsertEntry("a", registry)), errorids::ILLEGALARGUMENT.GetText());
	registry = nullptr;
	_host.Clear();
	EXPECT_EQ(s_lastEnded, 'c'); // the first comes last
	TORVI_MUST(_host.Init());
}

TEST_F(RegistryTest, InsertionsAndWalksMayMeet)
{
	const RegistryRef registry = TORVI_MUST(_host.GetRegistry("net.torvi.registry.test"));
	std::thread writer(
		[&]()
		{
			for (int i = 0; i < 300; ++i)
				TORVI_MUST(registry->InsertEntry(TORVI_MUST(InternId(Format("entry@", i))), TORVI_MUST(NewObject<Numbered>(i))));
		});
	while (registry->GetCount() < 300)
	{
		int expected = 0;
		for (Registry::Iterator it = registry->CreateIterator(); it.HasValue(); it.MoveToNext(), ++expected)
			EXPECT_EQ(Cast<Numbered>(it.GetEntry())->_number, expected);
	}
	writer.join();
}

TEST_F(RegistryTest, InternedIdsAreOne)
{
	const Id id = TORVI_MUST(InternId("net.torvi.madeatruntime"));
	EXPECT_EQ(id, Id("net.torvi.madeatruntime"));
	EXPECT_EQ(TORVI_MUST(InternId(MakeString("net.torvi.madeatruntime"))).GetCString(), id.GetCString());
	static int s_run = 0; // ids stay for the life of the process
	const String text = Format("net.torvi.an.id.that.is.longer.than.any.small.text.@", s_run++);
	ExpectOutOfMemoryAtEachAllocation([&]() { return InternId(text); });
	EXPECT_EQ(TORVI_MUST(InternId(text)).GetText(), std::string_view(text));
}

TEST_F(RegistryTest, HostEntersItsTypesAndClasses)
{
	EXPECT_EQ(ErrorIdOf(FindDataType("net.torvi.image.drawrectint")), errorids::UNREGISTEREDDATATYPE.GetText());
	TORVI_MUST(RegisterHost(_module));
	for (const Id& id :
		 {Id("float16"), Id("int64"), Id("net.torvi.image.bits"), Id("net.torvi.image.drawrectint"), Id("net.torvi.image.drawvolumefloat"),
		  Id("net.torvi.image.updateregion"), Id("net.torvi.datatype.datadictionary")})
	{
		const Result<DataType> type = FindDataType(id);
		ASSERT_TRUE(type.IsOk()) << id.GetText();
		EXPECT_EQ(type.GetValue().GetId(), id);
	}
	const ClassRef observable = TORVI_MUST(_host.GetClass(ids::CLASS_OBSERVABLE));
	EXPECT_EQ(observable->GetComponents().front()._id, ids::COMPONENT_OBSERVABLECOMBINERRUNALL);
	TORVI_MUST(observable->Create());

	const Result<void> again = RegisterHost(_module);
	EXPECT_EQ(again.GetError().GetMessage(), "The registration step \"numbers\" ended with an error.");
	EXPECT_EQ(again.GetError().GetCause().GetId(), errorids::ILLEGALARGUMENT);
}

TEST_F(RegistryTest, RegisteredTypesMakeZeroValues)
{
	TORVI_MUST(RegisterHost(_module));
	const auto types = TORVI_MUST(_host.GetRegistry(ids::REGISTRY_DATATYPES));
	for (Registry::Iterator it = types->CreateIterator(); it.HasValue(); it.MoveToNext())
	{
		const DataTypeRecord& record = TORVI_MUST(FindDataType(it.GetEntryId())).GetRecord();
		alignas(16) Byte first[256];
		alignas(16) Byte second[256];
		ASSERT_LE(record._size, sizeof(first));
		std::fill_n(first, sizeof(first), Byte(0xAA));
		record._construct(first);
		record._copy(first, second);
		EXPECT_TRUE(record._isEqual(first, second)) << record._id.GetText();
		EXPECT_EQ(record._hash(first), record._hash(second)) << record._id.GetText();
		record._destruct(first);
		record._destruct(second);
	}
}

TEST_F(RegistryTest, FailedAllocationsOfTheRegistration)
{
	ExpectOutOfMemoryAtEachAllocation(
		[]() -> Result<void>
		{
			HostServices host;
			TORVI_TRY(host.Init());
			Module module(host);
			return RegisterHost(module);
		});
}

} // namespace
} // namespace torvi::test
