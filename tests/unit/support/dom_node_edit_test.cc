// CDOMNode: copying nodes and changing the tree's shape, with who frees what and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <string>
#include <typeinfo>

#include "support/dom_document.h"
#include "support/dom_element.h"
#include "support/dom_node.h"
#include "xml_test_util.h"

namespace {

using sarvik::testing::FreedNodes;
using sarvik::testing::GroupSize;
using sarvik::testing::SaveText;
using sarvik::testing::XmlErrorText;
using ::testing::UnorderedElementsAre;
using Vexil::CDOMElement;
using Vexil::CDOMNode;

const char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const char kTree[] = "<a><b x=\"1\"><c/>text</b><d/><![CDATA[raw]]><?pi data?></a>";

const xmlChar* X(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

const void* CNode(const CDOMNode& node) { return node.GetNode()->cobj(); }

class NodeEdits : public ::testing::Test {
 protected:
  void SetUp() override {
    sarvik::testing::LoadText(document, kTree);
    root = document.GetRootNode();
  }

  std::string Tree() { return SaveText(document); }
  std::string Unchanged() { return std::string(kHead) + kTree + "\n"; }

  Vexil::CDOMXmlDocument document;
  CDOMNode root;
};

TEST_F(NodeEdits, DeepCloneIsDetachedCopyFreedWithItsGroup) {
  FreedNodes freed;
  const void* copy_node = nullptr;
  {
    CDOMElement copy = root.SelectSingleNode("b").CloneNode(true);
    copy_node = CNode(copy);
    EXPECT_NE(copy_node, CNode(root.SelectSingleNode("b")));
    EXPECT_EQ(copy.GetAttributeValue("x"), "1");
    EXPECT_EQ(copy.SelectSingleNode("c").GetName(), "c");
    EXPECT_EQ(copy.GetText(), "text");
    EXPECT_EQ(XmlErrorText([&] { copy.GetParent(); }),
              "CDOMNode::GetParent: ERROR: no parent found. node=b\n");
    EXPECT_TRUE(freed.names().empty());
  }
  EXPECT_EQ(freed.Times(copy_node), 1);
  // The copies of b, its attribute with the value's text, c and b's text.
  EXPECT_THAT(freed.names(), UnorderedElementsAre("b", "x", "text", "c", "text"));
  EXPECT_EQ(Tree(), Unchanged());
}

TEST_F(NodeEdits, ShallowCloneKeepsAttributesAndLeavesOutChildren) {
  CDOMElement copy = root.SelectSingleNode("b").CloneNode(false);
  EXPECT_EQ(copy.GetAttributeValue("x"), "1");
  EXPECT_FALSE(copy.HasChildNodes());
}

TEST_F(NodeEdits, CloningCdataOrPiGivesPlainWrapperAndOneWarning) {
  const std::string warning =
      "void Vexil::__xmlpp_node_create_wrapper(_xmlNode*)Warning: new node of unknown type "
      "created: ";
  for (const auto& [xpath, type] :
       {std::pair{"text()", XML_CDATA_SECTION_NODE}, {"processing-instruction()", XML_PI_NODE}}) {
    SCOPED_TRACE(xpath);
    CDOMNode original = root.SelectSingleNode(xpath);
    ASSERT_EQ(original.GetNodeType(), type);
    ::testing::internal::CaptureStderr();
    CDOMNode copy = original.CloneNode(true);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), warning + std::to_string(type) + "\n");
    const xmlpp::Node& wrapper = *copy.GetNode();
    EXPECT_EQ(typeid(wrapper), typeid(xmlpp::Node));
    EXPECT_EQ(copy.GetNodeType(), type);
  }
}

TEST_F(NodeEdits, CloningDocumentNodeGivesEmptyHandle) {
  // The model hands out no document nodes; a caller's own wrapper over one stands in here.
  xmlDoc* doc = xmlNewDoc(X("1.0"));
  xmlpp::Node wrapper(reinterpret_cast<xmlNode*>(doc));
  FreedNodes freed;
  {
    CDOMNode handle(&wrapper);
    EXPECT_EQ(handle.CloneNode(true).GetNode(), nullptr);
    EXPECT_EQ(freed.names().size(), 1u);  // the copy, which nothing could hold
  }
  EXPECT_EQ(freed.Times(doc), 0);  // a share group never ends a document
  xmlFreeDoc(doc);
}

class UncopyableNode : public NodeEdits {
 protected:
  void SetUp() override {
    NodeEdits::SetUp();
    doc = xmlNewDoc(X("1.0"));
    dtd = xmlCreateIntSubset(doc, X("dt"), nullptr, nullptr);
  }
  void TearDown() override { xmlFreeDoc(doc); }

  xmlDoc* doc = nullptr;
  xmlDtd* dtd = nullptr;  // no copy of it can be made
};

TEST_F(UncopyableNode, CloneNodeRaisesCopyFailed) {
  xmlpp::Node wrapper(reinterpret_cast<xmlNode*>(dtd));
  CDOMNode handle(&wrapper);
  EXPECT_EQ(XmlErrorText([&] { handle.CloneNode(true); }),
            "CDOMNode::CloneNode: ERROR: xmlCopyNode() failed. node=dt\n");
}

TEST_F(UncopyableNode, AppendChildNestsCloneNodeMessage) {
  xmlpp::Node wrapper(reinterpret_cast<xmlNode*>(dtd));
  CDOMNode handle(&wrapper);
  EXPECT_EQ(XmlErrorText([&] { root.AppendChild(handle); }),
            "CDOMNode::AppendChild: ERROR: CDOMNode::CloneNode: ERROR: xmlCopyNode() failed. "
            "node=dt\n node=a child=dt\n");
  EXPECT_EQ(Tree(), Unchanged());
}

TEST_F(NodeEdits, AppendChildAttachesCopyAndLeavesDetachedElementDetached) {
  FreedNodes freed;
  const void* loose_node = nullptr;
  {
    CDOMElement loose = document.CreateElement("n");
    loose_node = CNode(loose);
    CDOMElement attached = root.AppendChild(loose);
    EXPECT_NE(CNode(attached), loose_node);
    EXPECT_EQ(attached.GetParent().GetNode(), root.GetNode());
    EXPECT_EQ(GroupSize(loose), 1u);
    loose.SetAttributeValue("late", "1");
    attached.SetAttributeValue("in", "1");
    EXPECT_EQ(Tree(), std::string(kHead) +
                          "<a><b x=\"1\"><c/>text</b><d/><![CDATA[raw]]><?pi data?>"
                          "<n in=\"1\"/></a>\n");
  }
  EXPECT_EQ(freed.Times(loose_node), 1);
  EXPECT_THAT(freed.names(), UnorderedElementsAre("n", "late", "text"));
}

TEST_F(NodeEdits, AppendChildOfAttachedNodeLeavesItInPlace) {
  root.SelectSingleNode("d").AppendChild(root.SelectSingleNode("b"));
  EXPECT_EQ(Tree(), std::string(kHead) +
                        "<a><b x=\"1\"><c/>text</b><d><b x=\"1\"><c/>text</b></d>"
                        "<![CDATA[raw]]><?pi data?></a>\n");
}

TEST_F(NodeEdits, RefusedAppendChildFreesCopy) {
  FreedNodes freed;
  CDOMNode pi = root.SelectSingleNode("processing-instruction()");
  EXPECT_EQ(XmlErrorText([&] { pi.AppendChild(root.SelectSingleNode("b/@x")); }),
            "CDOMNode::AppendChild: ERROR: xmlAddChild() failed. node=pi child=x\n");
  EXPECT_THAT(freed.names(), UnorderedElementsAre("x", "text"));  // the copied attribute
  EXPECT_EQ(Tree(), Unchanged());
}

TEST_F(NodeEdits, InsertBeforeAttachesArgumentItself) {
  FreedNodes freed;
  {
    CDOMElement inserted = document.CreateElement("n");
    CDOMNode result = root.InsertBefore(inserted, root.SelectSingleNode("d"));
    EXPECT_EQ(result.GetShare().GetCount(), inserted.GetShare().GetCount());
    EXPECT_EQ(GroupSize(inserted), 2u);
    EXPECT_EQ(inserted.GetParent().GetNode(), root.GetNode());
    inserted.SetAttributeValue("late", "1");
  }
  EXPECT_TRUE(freed.names().empty());  // the group stopped owning it when it was attached
  EXPECT_EQ(Tree(), std::string(kHead) +
                        "<a><b x=\"1\"><c/>text</b><n late=\"1\"/><d/><![CDATA[raw]]>"
                        "<?pi data?></a>\n");
}

TEST_F(NodeEdits, InsertBeforeItselfRaises) {
  CDOMNode d = root.SelectSingleNode("d");
  EXPECT_EQ(XmlErrorText([&] { root.InsertBefore(d, d); }),
            "CDOMNode::InsertBefore: ERROR: xmlAddPrevSibling() failed. node=a new=d ref=d\n");
  EXPECT_EQ(Tree(), Unchanged());
}

TEST_F(NodeEdits, RemovedNodeStaysUsableWhileHeldAndIsFreedWithGroup) {
  FreedNodes freed;
  const void* b_node = nullptr;
  {
    CDOMElement b = root.SelectSingleNode("b");
    b_node = CNode(b);
    // This node takes no part: the one it is called on need not be the parent.
    CDOMElement removed = root.SelectSingleNode("d").RemoveChild(b);
    EXPECT_EQ(removed.GetShare().GetCount(), b.GetShare().GetCount());
    EXPECT_EQ(Tree(), std::string(kHead) + "<a><d/><![CDATA[raw]]><?pi data?></a>\n");
    EXPECT_TRUE(freed.names().empty());
    removed.SetAttributeValue("x", "2");
    EXPECT_EQ(b.GetAttributeValue("x"), "2");
    EXPECT_EQ(b.SelectSingleNode("c").GetName(), "c");
    EXPECT_EQ(freed.Times(b_node), 0);
  }
  EXPECT_EQ(freed.Times(b_node), 1);
  // The old value's text went when the value was set; then b, its attribute and value, c, text.
  EXPECT_THAT(freed.names(), UnorderedElementsAre("text", "b", "x", "text", "c", "text"));
}

TEST_F(NodeEdits, ReplaceChildAttachesArgumentAndHandsOldNodeToItsGroup) {
  FreedNodes freed;
  const void* old_node = nullptr;
  const void* new_node = nullptr;
  {
    CDOMElement replacement = document.CreateElement("n");
    new_node = CNode(replacement);
    CDOMNode d = root.SelectSingleNode("d");
    old_node = CNode(d);
    CDOMNode result = root.ReplaceChild(replacement, d);
    EXPECT_EQ(result.GetShare().GetCount(), d.GetShare().GetCount());
    replacement.SetText("new");
    EXPECT_EQ(Tree(), std::string(kHead) +
                          "<a><b x=\"1\"><c/>text</b><n>new</n><![CDATA[raw]]><?pi data?></a>\n");
  }
  EXPECT_EQ(freed.Times(old_node), 1);
  EXPECT_EQ(freed.Times(new_node), 0);
  EXPECT_EQ(freed.names(), std::vector<std::string>({"d"}));
}

TEST_F(NodeEdits, ReplaceChildOfDetachedNodeRaises) {
  CDOMElement replacement = document.CreateElement("n");
  CDOMElement loose = document.CreateElement("o");
  EXPECT_EQ(XmlErrorText([&] { root.ReplaceChild(replacement, loose); }),
            "CDOMNode::ReplaceChild: ERROR: xmlReplaceNode() failed. node=a new=n old=o\n");
  EXPECT_EQ(Tree(), Unchanged());
}

}  // namespace
