// CDOMNode: selection, navigation and the node's own properties, with their exact messages.
#include <gtest/gtest.h>
#include <libxml++/exceptions/exception.h>
#include <libxml/tree.h>

#include <list>
#include <string>
#include <vector>

#include "support/dom_document.h"
#include "support/dom_element.h"
#include "support/dom_node.h"
#include "xml_test_util.h"

namespace {

using sarvik::testing::GroupSize;
using sarvik::testing::XmlErrorText;
using Vexil::CDOMElement;
using Vexil::CDOMNode;

class NodeQueries : public ::testing::Test {
 protected:
  void SetUp() override {
    sarvik::testing::LoadText(document,
                              "<!DOCTYPE a><a x=\"1\"><b id=\"1\">one</b><b id=\"2\">two</b><c/>"
                              "<d>t<!--k--><e/>u</d></a><!--after-->");
    root = document.GetRootNode();
  }

  static std::vector<std::string> Ids(const std::list<CDOMNode>& nodes) {
    std::vector<std::string> ids;
    for (const CDOMNode& node : nodes) ids.push_back(CDOMElement(node).GetAttributeValue("id"));
    return ids;
  }

  Vexil::CDOMXmlDocument document;
  CDOMNode root;
};

TEST_F(NodeQueries, SelectSingleNodeGivesFirstOfSeveralInGroupOfItsOwn) {
  CDOMNode first = root.SelectSingleNode("b");
  EXPECT_EQ(CDOMElement(first).GetAttributeValue("id"), "1");
  CDOMNode again = root.SelectSingleNode("b");
  EXPECT_EQ(again.GetNode(), first.GetNode());
  EXPECT_NE(again.GetShare().GetCount(), first.GetShare().GetCount());
  EXPECT_EQ(GroupSize(first), 1u);
  EXPECT_EQ(GroupSize(again), 1u);
}

TEST_F(NodeQueries, SelectNodesGivesAllEachInGroupOfItsOwn) {
  std::list<CDOMNode> found = root.SelectNodes("b");
  EXPECT_EQ(Ids(found), (std::vector<std::string>{"1", "2"}));
  for (const CDOMNode& node : found) EXPECT_EQ(GroupSize(node), 1u);
  EXPECT_EQ(Ids(root.SelectNodes("//b[@id='2'] | //b[@id='1']")),
            (std::vector<std::string>{"1", "2"}));  // in document order, as the library gives
}

TEST_F(NodeQueries, NoMatchRaisesWithNodeAndXPath) {
  EXPECT_EQ(XmlErrorText([&] { root.SelectSingleNode("missing"); }),
            "CDOMNode::SelectSingleNode: ERROR: no nodes found. node=a xpath=missing\n");
  EXPECT_EQ(XmlErrorText([&] { root.SelectNodes("b/missing"); }),
            "CDOMNode::SelectNodes: ERROR: no nodes found. node=a xpath=b/missing\n");
  // Context values are their UTF-8 bytes as they stand.
  EXPECT_EQ(XmlErrorText([&] { root.SelectSingleNode("\xC3\xA4"); }),
            "CDOMNode::SelectSingleNode: ERROR: no nodes found. node=a xpath=\xC3\xA4\n");
}

TEST_F(NodeQueries, RejectedXPathRaisesLibraryExceptionUnchanged) {
  for (auto select : {+[](const CDOMNode& n) { n.SelectSingleNode("///["); },
                      +[](const CDOMNode& n) { n.SelectNodes("///["); },
                      +[](const CDOMNode& n) { n.ExistNode("///["); }}) {
    try {
      select(root);
      ADD_FAILURE() << "no exception";
    } catch (const Vexil::CXMLError& error) {
      ADD_FAILURE() << "rewritten: " << error.what();
    } catch (const xmlpp::exception& error) {
      EXPECT_STREQ(error.what(), "Invalid XPath: ///[");
    }
  }
}

TEST_F(NodeQueries, ExistNodeTurnsNoMatchIntoFalse) {
  EXPECT_TRUE(root.ExistNode("b"));
  EXPECT_TRUE(root.ExistNode("d/e"));
  EXPECT_FALSE(root.ExistNode("missing"));
}

TEST_F(NodeQueries, DotSelectsContextNode) {
  CDOMNode self = root.SelectSingleNode(".");
  EXPECT_EQ(self.GetNode(), root.GetNode());
  EXPECT_NE(self.GetShare().GetCount(), root.GetShare().GetCount());
}

TEST_F(NodeQueries, DocumentNodeIsSelectedAsEmptyHandle) {
  EXPECT_EQ(root.SelectSingleNode("/").GetNode(), nullptr);
  EXPECT_EQ(root.SelectSingleNode("..").GetNode(), nullptr);
  std::list<CDOMNode> found = root.SelectNodes("/ | /a");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found.front().GetNode(), nullptr);
  EXPECT_EQ(found.back().GetNode(), root.GetNode());
  EXPECT_TRUE(root.ExistNode("/"));
}

TEST_F(NodeQueries, GetParentGivesParentElementInNewGroup) {
  CDOMNode e = root.SelectSingleNode("d/e");
  CDOMNode d = e.GetParent();
  EXPECT_EQ(d.GetName(), "d");
  EXPECT_EQ(d.GetParent().GetNode(), root.GetNode());
  EXPECT_EQ(GroupSize(d), 1u);
  EXPECT_EQ(root.SelectSingleNode("@x").GetParent().GetNode(), root.GetNode());
}

TEST_F(NodeQueries, GetParentOfRootRaisesNoParent) {
  EXPECT_EQ(XmlErrorText([&] { root.GetParent(); }),
            "CDOMNode::GetParent: ERROR: no parent found. node=a\n");
}

TEST_F(NodeQueries, GetParentOfEmptyHandleRaisesObjectNotFound) {
  EXPECT_EQ(XmlErrorText([] { CDOMNode().GetParent(); }),
            "CDOMNode::GetParent: ERROR: object not found. node=(empty)\n");
}

TEST_F(NodeQueries, GetChildNodesOfTextOnlyElementGivesTextNode) {
  std::list<CDOMNode> children = root.SelectSingleNode("b").GetChildNodes();
  ASSERT_EQ(children.size(), 1u);
  EXPECT_EQ(children.front().GetNodeType(), XML_TEXT_NODE);
  EXPECT_EQ(children.front().GetName(), "text");
  EXPECT_EQ(GroupSize(children.front()), 1u);
}

TEST_F(NodeQueries, GetChildNodesListsChildrenOfEveryTypeInOrder) {
  std::vector<int> types;
  for (const CDOMNode& child : root.SelectSingleNode("d").GetChildNodes()) {
    types.push_back(child.GetNodeType());
  }
  EXPECT_EQ(types,
            (std::vector<int>{XML_TEXT_NODE, XML_COMMENT_NODE, XML_ELEMENT_NODE, XML_TEXT_NODE}));
}

TEST_F(NodeQueries, GetChildNodesOfEmptyElementRaisesNoChildren) {
  EXPECT_EQ(XmlErrorText([&] { root.SelectSingleNode("c").GetChildNodes(); }),
            "CDOMNode::GetChildNodes: ERROR: no children found. node=c\n");
}

TEST_F(NodeQueries, SiblingsOfParsedNodesAreWrappedWhenAskedFor) {
  CDOMNode comment = root.SelectSingleNode("d/e").GetPreviousSibling();
  EXPECT_EQ(comment.GetNodeType(), XML_COMMENT_NODE);
  EXPECT_EQ(comment.GetNextSibling().GetName(), "e");
  CDOMNode second = root.SelectSingleNode("b").GetNextSibling();
  EXPECT_EQ(CDOMElement(second).GetAttributeValue("id"), "2");
  EXPECT_EQ(second.GetNextSibling().GetName(), "c");
  EXPECT_EQ(GroupSize(second), 1u);
  EXPECT_EQ(root.GetNextSibling().GetNodeType(), XML_COMMENT_NODE);
}

TEST_F(NodeQueries, DtdNeighbourCountsAsNoSibling) {
  EXPECT_EQ(XmlErrorText([&] { root.GetPreviousSibling(); }),
            "CDOMNode::GetPreviousSibling: ERROR: no sibling found. node=a\n");
}

TEST_F(NodeQueries, NameTypeAndChildren) {
  CDOMNode attribute = root.SelectSingleNode("@x");
  EXPECT_EQ(attribute.GetName(), "x");
  EXPECT_EQ(attribute.GetNodeType(), XML_ATTRIBUTE_NODE);
  EXPECT_EQ(root.GetNodeType(), XML_ELEMENT_NODE);
  EXPECT_TRUE(root.HasChildNodes());
  EXPECT_TRUE(root.SelectSingleNode("b").HasChildNodes());
  EXPECT_FALSE(root.SelectSingleNode("c").HasChildNodes());
}

}  // namespace
