// Strong, weak and copy-on-write references, and classes.
#include "expect_out_of_memory.h"

#include "host/class.h"
#include "host/registry.h"

#include <array>
#include <thread>

namespace torvi::test
{
namespace
{

std::atomic<int> s_living{0};

class CellInterface : public virtual ObjectInterface
{
public:
	int _value = 0;
};

class Cell : public CellInterface
{
public:
	explicit Cell(int value = 0) : _bytes(100)
	{
		_value = value;
		++s_living;
	}
	Cell(const Cell& other) : ObjectInterface(other), CellInterface(other), _bytes(other._bytes) { ++s_living; }
	~Cell() override
	{
		_value = -1;
		--s_living;
	}
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

private:
	Array<Byte> _bytes;
};

TEST(Reference, LastOneEndsTheObject)
{
	Ref<Cell> first = TORVI_MUST(NewObject<Cell>(3));
	ObjectRef second = first;
	first = nullptr;
	EXPECT_EQ(s_living, 1);
	EXPECT_EQ(Cast<CellInterface>(second)->_value, 3);
	second = nullptr;
	EXPECT_EQ(s_living, 0);
}

TEST(Reference, ObjectMayReferToItselfWhileItEnds)
{
	struct SelfReferring : Cell
	{
		~SelfReferring() override { ObjectRef(this)->AddReference(), RemoveReference(); }
	};
	WeakRef<SelfReferring> weak(TORVI_MUST(NewObject<SelfReferring>()));
	EXPECT_EQ(s_living, 0);
	EXPECT_FALSE(weak.Lock());
}

TEST(Reference, WeakReadsNullWhileTheObjectEnds)
{
	struct Watcher : Cell
	{
		WeakRef<Watcher> _self;
		Bool* _wasNull = nullptr;
		~Watcher() override { *_wasNull = !_self.Lock(); }
	};
	Bool wasNull = false;
	Ref<Watcher> watcher = TORVI_MUST(NewObject<Watcher>());
	watcher->_self = watcher;
	watcher->_wasNull = &wasNull;
	EXPECT_EQ(watcher->_self.Lock(), watcher);
	watcher = nullptr;
	EXPECT_TRUE(wasNull);
}

TEST(Reference, WeakIsSafeAgainstAConcurrentLastRelease)
{
	constexpr int ROUNDS = 3000;
	std::array<WeakRef<Cell>, ROUNDS> weak;
	Array<Ref<Cell>> strong;
	for (auto& reference : weak)
	{
		strong.push_back(TORVI_MUST(NewObject<Cell>(7)));
		reference = strong.back();
	}
	std::atomic<int> bad{0};
	const auto lockAll = [&]()
	{
		for (const auto& reference : weak)
		{
			const WeakRef<Cell> copy = reference;
			if (const Ref<Cell> locked = copy.Lock(); locked && locked->_value != 7)
				++bad;
		}
	};
	std::thread readers[] = {std::thread(lockAll), std::thread(lockAll)};
	for (auto& reference : strong)
		reference = nullptr;
	for (std::thread& reader : readers)
		reader.join();
	EXPECT_EQ(bad, 0);
	EXPECT_EQ(s_living, 0);
	EXPECT_FALSE(weak[0].Lock());
}

TEST(CopyOnWrite, OnlyOwnersCount)
{
	CowRef<Cell> owner(TORVI_MUST(NewObject<Cell>(1)));
	const Ref<Cell> keepAlive = owner.GetRef();
	EXPECT_FALSE(owner.IsShared());
	EXPECT_EQ(TORVI_MUST(owner.MakeWritable()), keepAlive);

	CowRef<Cell> second = owner;
	EXPECT_TRUE(owner.IsShared());
	const Ref<Cell> copy = TORVI_MUST(second.MakeWritable());
	EXPECT_NE(copy, keepAlive);
	EXPECT_FALSE(owner.IsShared());
	EXPECT_FALSE(second.IsShared());

	CowRef<Cell> moved = std::move(second);
	EXPECT_FALSE(moved.IsShared());
	EXPECT_EQ(ErrorIdOf(CowRef<Cell>().MakeWritable()), errorids::NULLPTR.GetText());
}

TEST(CopyOnWrite, FailedCopyKeepsTheObject)
{
	CowRef<Cell> owner(TORVI_MUST(NewObject<Cell>(1)));
	ExpectOutOfMemoryAtEachAllocation(
		[&]() -> Result<Ref<Cell>>
		{
			CowRef<Cell> second = owner;
			Result<Ref<Cell>> result = second.MakeWritable();
			EXPECT_EQ(result.IsOk(), second.GetRef() != owner.GetRef());
			EXPECT_EQ(result.IsOk(), !owner.IsShared());
			return result;
		});
}

TEST(CopyOnWrite, CopyThatThrowsIsAnError)
{
	struct Thrower : Cell
	{
		Result<ObjectRef> CloneObject() const override { throw std::bad_alloc(); }
	};
	CowRef<Thrower> owner(TORVI_MUST(NewObject<Thrower>()));
	CowRef<Thrower> second = owner;
	EXPECT_EQ(ErrorIdOf(second.MakeWritable()), errorids::OUTOFMEMORY.GetText());
	EXPECT_EQ(second.GetRef(), owner.GetRef());
}

struct Failing : Cell
{
	Result<void> InitObject() override { return IoError("No disk in drive @.", 3); }
};

TEST(Class, MakesObjectsOfTheLastComponent)
{
	const ClassRef base = TORVI_MUST(NewObject<Class>(Id("base"), ClassRef()));
	EXPECT_EQ(ErrorIdOf(base->Finalize()), errorids::ILLEGALSTATE.GetText());
	EXPECT_EQ(ErrorIdOf(base->Create()), errorids::ILLEGALSTATE.GetText());
	TORVI_MUST(base->AddComponent({"base", &CreateComponent<Failing>}));
	TORVI_MUST(base->AddComponent({"second", &CreateComponent<Cell>}));
	TORVI_MUST(base->Finalize());
	EXPECT_EQ(ErrorIdOf(base->AddComponent({"late", &CreateComponent<Cell>})), errorids::ILLEGALSTATE.GetText());

	const ClassRef derived = TORVI_MUST(NewObject<Class>(Id("derived"), base));
	TORVI_MUST(derived->Finalize()); // the base's components serve
	EXPECT_TRUE(derived->IsSubclassOf("base") && derived->IsSubclassOf("derived"));
	EXPECT_FALSE(base->IsSubclassOf("derived"));

	const Ref<CellInterface> object = TORVI_MUST(derived->Create<CellInterface>());
	EXPECT_EQ(object->ToString(), "derived");
	const ObjectRef copy = TORVI_MUST(object->CloneObject());
	EXPECT_EQ(copy->GetClass(), derived.GetPointer());
	EXPECT_EQ(ErrorIdOf(derived->Create<Registry>()), errorids::NULLPTR.GetText());
}

TEST(Class, FailedInitDropsTheObject)
{
	const ClassRef record = TORVI_MUST(NewObject<Class>(Id("failing"), ClassRef()));
	TORVI_MUST(record->AddComponent({"failing", &CreateComponent<Failing>}));
	TORVI_MUST(record->Finalize());
	EXPECT_EQ(record->Create().GetError().GetMessage(), "No disk in drive 3.");
	EXPECT_EQ(s_living, 0);
	EXPECT_EQ(record->GetControl()._strong, 1);
}

} // namespace
} // namespace torvi::test
