// Trees of objects.
#include "expect_out_of_memory.h"

#include "host/class.h"
#include "host/hierarchy.h"

namespace torvi::test
{
namespace
{

int s_living = 0;

class Node final : public HierarchyObjectImpl
{
public:
	explicit Node(char name) : _name(name) { ++s_living; }
	Node(const Node& other) : ObjectInterface(other), HierarchyObjectInterface(other), HierarchyObjectImpl(other), _name(other._name)
	{
		++s_living;
	}
	~Node() override { --s_living; }
	char _name;
};

using NodeRef = Ref<Node>;

NodeRef MakeNode(char name)
{
	return TORVI_MUST(NewObject<Node>(name));
}

String NamesOf(const HierarchyObjectRef& parent, Int32 branch)
{
	String names;
	for (HierarchyObjectRef child = parent->GetFirstChild(branch); child; child = child->GetNext())
		names.push_back(Cast<Node>(child)->_name);
	String listed;
	for (const HierarchyObjectRef& child : parent->GetChildren(branch))
		listed.push_back(Cast<Node>(child)->_name);
	EXPECT_EQ(names, listed);
	return names;
}

TEST(Hierarchy, KeepsOrderAndBranches)
{
	const NodeRef root = MakeNode('r');
	const NodeRef a = MakeNode('a'), b = MakeNode('b'), c = MakeNode('c'), d = MakeNode('d');
	TORVI_MUST(a->InsertAsLastChildOf(root, 3));
	TORVI_MUST(d->InsertAsLastChildOf(root, 1));
	TORVI_MUST(c->InsertAsLastChildOf(root, 3));
	TORVI_MUST(b->InsertBefore(c));
	EXPECT_EQ(NamesOf(root, 3), "abc");
	EXPECT_EQ(NamesOf(root, 1), "d");
	EXPECT_EQ(root->GetBranches(), (Array<Int32>{1, 3}));
	EXPECT_EQ(b->GetBranch(), 3);

	TORVI_MUST(c->InsertBefore(a)); // within one parent
	EXPECT_EQ(NamesOf(root, 3), "cab");
	TORVI_MUST(a->InsertAsLastChildOf(d, 2)); // to another one
	EXPECT_EQ(NamesOf(root, 3), "cb");
	EXPECT_EQ(a->GetParent(), d);
	c->Remove();
	c->Remove();
	EXPECT_FALSE(c->GetParent() || c->GetNext());
	EXPECT_EQ(c->GetBranch(), 0);
	EXPECT_EQ(NamesOf(root, 3), "b");
}

TEST(Hierarchy, RefusesCyclesAndLooseSiblings)
{
	const NodeRef a = MakeNode('a'), b = MakeNode('b'), c = MakeNode('c');
	TORVI_MUST(b->InsertAsLastChildOf(a, 1));
	TORVI_MUST(c->InsertAsLastChildOf(b, 1));
	const std::string_view illegal = errorids::ILLEGALARGUMENT.GetText();
	EXPECT_EQ(ErrorIdOf(a->InsertAsLastChildOf(a, 1)), illegal);
	EXPECT_EQ(ErrorIdOf(a->InsertAsLastChildOf(c, 1)), illegal);
	EXPECT_EQ(ErrorIdOf(b->InsertBefore(c)), illegal);
	EXPECT_EQ(ErrorIdOf(b->InsertBefore(b)), illegal);
	EXPECT_EQ(ErrorIdOf(b->InsertBefore(a)), illegal); // a has no parent
	EXPECT_EQ(ErrorIdOf(b->InsertBefore(nullptr)), illegal);
	EXPECT_EQ(ErrorIdOf(b->InsertAsLastChildOf(nullptr, 1)), illegal);
	EXPECT_EQ(NamesOf(a, 1) + NamesOf(b, 1), "bc");
}

TEST(Hierarchy, ChildOutlivesItsParent)
{
	NodeRef parent = MakeNode('p');
	const NodeRef child = MakeNode('c'), grandchild = MakeNode('g');
	TORVI_MUST(child->InsertAsLastChildOf(parent, 4));
	TORVI_MUST(grandchild->InsertAsLastChildOf(child, 4));
	parent = nullptr;
	EXPECT_EQ(s_living, 2);
	EXPECT_FALSE(child->GetParent() || child->GetNext());
	EXPECT_EQ(child->GetBranch(), 0);
	EXPECT_EQ(NamesOf(child, 4), "g");
}

TEST(Hierarchy, ParentsMayEndWhileTheyAreAskedFor)
{
	for (int i = 0; i < 200; ++i)
	{
		NodeRef parent = MakeNode('p');
		const NodeRef child = MakeNode('c');
		TORVI_MUST(child->InsertAsLastChildOf(parent, 1));
		std::thread reader(
			[&]()
			{
				while (child->GetParent())
				{
				}
			});
		parent = nullptr;
		reader.join();
	}
}

TEST(Hierarchy, CopyStandsAlone)
{
	const NodeRef root = MakeNode('r'), child = MakeNode('c');
	TORVI_MUST(child->InsertAsLastChildOf(root, 1));
	EXPECT_TRUE(TORVI_MUST(NewObject<Node>(*root))->GetBranches().empty());
	EXPECT_FALSE(TORVI_MUST(NewObject<Node>(*child))->GetParent());
}

TEST(Hierarchy, DeepTreeEndsWithoutRecursion)
{
	constexpr int DEPTH = 100'000;
	NodeRef root = MakeNode('r');
	NodeRef bottom = root;
	for (int i = 0; i < DEPTH; ++i)
	{
		NodeRef next = MakeNode('n');
		TORVI_MUST(next->InsertAsLastChildOf(bottom, i % 3));
		bottom = next;
	}
	bottom = nullptr;
	EXPECT_EQ(s_living, DEPTH + 1);
	root = nullptr;
	EXPECT_EQ(s_living, 0);
}

TEST(Hierarchy, FailedInsertChangesNothing)
{
	const NodeRef first = MakeNode('f'), second = MakeNode('s'), child = MakeNode('c');
	TORVI_MUST(child->InsertAsLastChildOf(first, 1));
	ExpectOutOfMemoryAtEachAllocation(
		[&]()
		{
			Result<void> result = child->InsertAsLastChildOf(second, 2);
			EXPECT_EQ(child->GetParent(), result.IsOk() ? second : first);
			return result;
		});
}

} // namespace
} // namespace torvi::test
