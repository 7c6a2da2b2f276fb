// Share groups of node handles: counts, copying, assignment, release and the node deleter.
#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <vector>

#include "support/dom_document.h"
#include "support/dom_node.h"
#include "support/node_wrapper.h"
#include "support/xml_error.h"
#include "xml_test_util.h"

namespace {

using Vexil::CDOMNode;
using Vexil::DeleteNode;
using Ptr = Vexil::CDOMNode::CShareNodePtr;
using sarvik::testing::FreedNodes;

std::vector<xmlpp::Node*> deleted;

void RecordDelete(xmlpp::Node* node) { deleted.push_back(node); }

// A detached element with its wrapper, owned by nobody yet.
xmlpp::Node* NewDetached(const char* name) {
  xmlNode* node = xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>(name));
  Vexil::__xmlpp_node_create_wrapper(node);
  return static_cast<xmlpp::Node*>(node->_private);
}

class ShareGroup : public ::testing::Test {
 protected:
  void SetUp() override {
    deleted.clear();
    sarvik::testing::LoadText(document, "<a><b/></a>");
    root = document.GetRootNode();
    attached = root.GetNode();
  }

  Vexil::CDOMXmlDocument document;
  CDOMNode root;
  xmlpp::Node* attached = nullptr;  // the root element, which the document owns
};

TEST_F(ShareGroup, EmptyHandlesHaveNoCountAndDeleteNode) {
  Ptr made;
  Ptr from_null(nullptr);
  for (const Ptr* handle : {&made, &from_null}) {
    EXPECT_EQ(handle->Get(), nullptr);
    EXPECT_EQ(handle->GetCount(), nullptr);
    EXPECT_EQ(handle->GetDeleter(), &DeleteNode);
  }
}

TEST_F(ShareGroup, RawPointerStartsGroupOfOne) {
  Ptr handle(attached);
  EXPECT_EQ(handle.Get(), attached);
  ASSERT_NE(handle.GetCount(), nullptr);
  EXPECT_EQ(*handle.GetCount(), 1u);
  EXPECT_EQ(handle.GetDeleter(), &DeleteNode);
}

TEST_F(ShareGroup, CopyJoinsGroupWithItsDeleter) {
  Ptr first(attached);
  first.Reset(attached, &RecordDelete);
  {
    Ptr second(first);
    EXPECT_EQ(second.Get(), attached);
    EXPECT_EQ(second.GetCount(), first.GetCount());
    EXPECT_EQ(*first.GetCount(), 2u);
    EXPECT_EQ(second.GetDeleter(), &RecordDelete);
  }
  EXPECT_EQ(*first.GetCount(), 1u);
  EXPECT_TRUE(deleted.empty());
}

TEST_F(ShareGroup, CopyOfEmptyHandleIsEmptyWithDeleteNode) {
  Ptr source;
  source.Reset(nullptr, &RecordDelete);  // same (null) pointer: only the deleter changes
  ASSERT_EQ(source.GetDeleter(), &RecordDelete);
  Ptr copy(source);
  EXPECT_EQ(copy.Get(), nullptr);
  EXPECT_EQ(copy.GetCount(), nullptr);
  EXPECT_EQ(copy.GetDeleter(), &DeleteNode);
}

TEST_F(ShareGroup, SelfAssignmentChangesNothing) {
  Ptr handle(attached);
  uint32_t* count = handle.GetCount();
  handle.Assign(handle);
  handle = *&handle;
  EXPECT_EQ(handle.Get(), attached);
  EXPECT_EQ(handle.GetCount(), count);
  EXPECT_EQ(*count, 1u);
}

TEST_F(ShareGroup, AssignmentFromOtherGroupWithSamePointerMovesNoCount) {
  Ptr mine(attached);
  Ptr theirs(attached);
  Ptr theirs_too(theirs);
  uint32_t* my_count = mine.GetCount();
  mine = theirs;
  EXPECT_EQ(mine.GetCount(), my_count);
  EXPECT_EQ(*my_count, 1u);
  EXPECT_EQ(*theirs.GetCount(), 2u);
}

TEST_F(ShareGroup, AssignmentLeavesOldGroupForNewOne) {
  Ptr old_group(attached);
  Ptr leaving(old_group);
  xmlpp::Node* other = root.SelectSingleNode("b").GetNode();
  Ptr new_group(other);
  new_group.Reset(other, &RecordDelete);
  leaving = new_group;
  EXPECT_EQ(*old_group.GetCount(), 1u);
  EXPECT_EQ(leaving.Get(), other);
  EXPECT_EQ(leaving.GetCount(), new_group.GetCount());
  EXPECT_EQ(*new_group.GetCount(), 2u);
  EXPECT_EQ(leaving.GetDeleter(), &RecordDelete);
}

TEST_F(ShareGroup, ResetWithHeldPointerChangesOnlyDeleter) {
  Ptr handle(attached);
  Ptr member(handle);
  uint32_t* count = handle.GetCount();
  handle.Reset(attached, &RecordDelete);
  EXPECT_EQ(handle.Get(), attached);
  EXPECT_EQ(handle.GetCount(), count);
  EXPECT_EQ(*count, 2u);
  EXPECT_EQ(handle.GetDeleter(), &RecordDelete);
  EXPECT_EQ(member.GetDeleter(), &DeleteNode);
}

TEST_F(ShareGroup, ResetWithOtherPointerLeavesGroupAndStartsOne) {
  Ptr stays(attached);
  Ptr moves(stays);
  xmlpp::Node* other = root.SelectSingleNode("b").GetNode();
  moves.Reset(other, &RecordDelete);
  EXPECT_EQ(*stays.GetCount(), 1u);
  EXPECT_NE(moves.GetCount(), stays.GetCount());
  EXPECT_EQ(*moves.GetCount(), 1u);
  EXPECT_EQ(moves.Get(), other);
  EXPECT_EQ(moves.GetDeleter(), &RecordDelete);
}

TEST_F(ShareGroup, ReleaseOfLastHandleEmptiesItAndCallsDeleterOnce) {
  Ptr handle(attached);
  handle.Reset(attached, &RecordDelete);
  handle.Release();
  EXPECT_EQ(handle.Get(), nullptr);
  EXPECT_EQ(handle.GetCount(), nullptr);
  EXPECT_EQ(handle.GetDeleter(), nullptr);
  EXPECT_EQ(deleted, std::vector<xmlpp::Node*>{attached});
  handle.Release();  // an empty handle has nothing to give up
  EXPECT_EQ(deleted.size(), 1u);
}

TEST_F(ShareGroup, ReleaseOfNonLastHandleKeepsPointerAndCount) {
  Ptr first(attached);
  first.Reset(attached, &RecordDelete);
  Ptr second(first);
  Ptr third(first);
  uint32_t* count = first.GetCount();
  third.Release();
  EXPECT_EQ(third.Get(), attached);
  EXPECT_EQ(third.GetCount(), count);
  EXPECT_EQ(*count, 2u);
  third.Release();  // counts a second time
  EXPECT_EQ(third.GetCount(), count);
  EXPECT_EQ(*count, 1u);
  EXPECT_TRUE(deleted.empty());
  // The group now counts one share for three handles; give back the two that `third` gave up
  // so that the three destructors end the group exactly once.
  *count += 2;
}

TEST_F(ShareGroup, LastHandleOverAttachedNodeFreesOnlyCount) {
  FreedNodes freed;
  { Ptr handle(attached); }
  EXPECT_TRUE(freed.names().empty());
  EXPECT_EQ(sarvik::testing::SaveText(document),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b/></a>\n");
}

TEST_F(ShareGroup, LastHandleOverDetachedNodeFreesIt) {
  xmlpp::Node* node = NewDetached("loose");
  const void* cnode = node->cobj();
  FreedNodes freed;
  {
    Ptr handle(node);
    Ptr copy(handle);
  }
  EXPECT_EQ(freed.Times(cnode), 1);
  EXPECT_EQ(freed.names(), std::vector<std::string>{"loose"});
}

TEST_F(ShareGroup, NullDeleterAtZeroFreesOnlyCount) {
  xmlpp::Node* node = NewDetached("kept");
  FreedNodes freed;
  {
    Ptr handle(node);
    handle.Reset(node, nullptr);
  }
  EXPECT_TRUE(freed.names().empty());
  Vexil::FreeDetached(node->cobj());  // the node had no owner; the test ends it
}

TEST_F(ShareGroup, ResetWithNullLeavesOrphanCountOfOne) {
  Ptr handle(attached);
  handle.Reset(attached, &RecordDelete);
  handle.Reset(nullptr, &DeleteNode);
  EXPECT_EQ(deleted, std::vector<xmlpp::Node*>{attached});  // the old group ended
  EXPECT_EQ(handle.Get(), nullptr);
  ASSERT_NE(handle.GetCount(), nullptr);
  EXPECT_EQ(*handle.GetCount(), 1u);
  EXPECT_EQ(handle.GetDeleter(), &DeleteNode);
  // Nobody frees this count, as the handle counts as empty; the test frees it so that the leak
  // checker sees a clean run.
  delete handle.GetCount();
}

TEST_F(ShareGroup, NodeHandleFromRawPointerEndsWithCountOne) {
  CDOMNode handle(attached);
  EXPECT_EQ(handle.GetNode(), attached);
  EXPECT_EQ(sarvik::testing::GroupSize(handle), 1u);
  CDOMNode empty(nullptr);
  EXPECT_EQ(empty.GetNode(), nullptr);
  EXPECT_EQ(empty.GetShare().GetCount(), nullptr);
}

TEST(CXMLError, IsLogicErrorWithTextAsGiven) {
  const Vexil::CXMLError error("some text.");
  const std::logic_error& base = error;
  EXPECT_STREQ(base.what(), "some text.");
}

}  // namespace
