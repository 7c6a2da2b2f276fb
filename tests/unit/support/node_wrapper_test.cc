// The libxml++ wrappers behind the handles: when this libxml++ makes them, who ends them, and
// the wrappers that the model makes itself.
#include <gtest/gtest.h>
#include <libxml++/attribute.h>
#include <libxml++/dtd.h>
#include <libxml++/nodes/commentnode.h>
#include <libxml++/nodes/element.h>
#include <libxml++/nodes/entityreference.h>
#include <libxml++/nodes/textnode.h>
#include <libxml/tree.h>

#include <functional>
#include <string>
#include <typeinfo>

#include "support/dom_document.h"
#include "support/node_wrapper.h"
#include "xml_test_util.h"

namespace {

using sarvik::testing::FreedNodes;
using sarvik::testing::LoadText;
using Vexil::CDOMNode;

const xmlChar* X(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

// A wrapper that reports its own end.
class Probe : public xmlpp::Node {
 public:
  Probe(xmlNode* node, bool* gone) : xmlpp::Node(node), gone(gone) {}
  ~Probe() override { *gone = true; }

 private:
  bool* gone;
};

TEST(LibxmlppWrappers, InstallsNoNodeHooks) {
  Vexil::CDOMXmlDocument document;
  LoadText(document, "<a/>");
  // Without these hooks libxml2 neither makes wrappers while parsing nor ends them in
  // xmlFreeNode.
  xmlRegisterNodeFunc on_make = xmlRegisterNodeDefault(nullptr);
  xmlDeregisterNodeFunc on_free = xmlDeregisterNodeDefault(nullptr);
  EXPECT_EQ(on_make, nullptr);
  EXPECT_EQ(on_free, nullptr);
  xmlRegisterNodeDefault(on_make);
  xmlDeregisterNodeDefault(on_free);
}

TEST(LibxmlppWrappers, ParsedNodesAreWrappedOnlyWhenAskedFor) {
  Vexil::CDOMXmlDocument document;
  LoadText(document, "<a><b><c/></b></a>");
  CDOMNode root = document.GetRootNode();
  xmlNode* b = root.GetNode()->cobj()->children;
  xmlNode* c = b->children;
  EXPECT_EQ(b->_private, nullptr);
  EXPECT_EQ(c->_private, nullptr);

  CDOMNode c_handle = root.SelectSingleNode("b/c");
  EXPECT_EQ(c->_private, c_handle.GetNode());
  EXPECT_EQ(b->_private, nullptr);  // selecting wraps the results alone

  CDOMNode parent = c_handle.GetParent();
  EXPECT_EQ(parent.GetName(), "b");
  EXPECT_EQ(b->_private, parent.GetNode());
  const xmlpp::Node& wrapper = *parent.GetNode();
  EXPECT_EQ(typeid(wrapper), typeid(xmlpp::Element));
}

TEST(LibxmlppWrappers, FreeingNodeLeavesItsWrapper) {
  xmlNode* node = xmlNewNode(nullptr, X("n"));
  bool gone = false;
  Probe* wrapper = new Probe(node, &gone);
  ASSERT_EQ(node->_private, wrapper);
  xmlFreeNode(node);
  EXPECT_FALSE(gone);
  delete wrapper;  // a wrapper does not touch its node when it ends
  EXPECT_TRUE(gone);
}

TEST(LibxmlppWrappers, EndOfGroupOverDetachedNodeEndsItsWrappers) {
  xmlNode* top = xmlNewNode(nullptr, X("top"));
  xmlNode* below = xmlNewChild(top, nullptr, X("below"), nullptr);
  bool top_gone = false;
  bool below_gone = false;
  FreedNodes freed;
  {
    CDOMNode handle(new Probe(top, &top_gone));
    new Probe(below, &below_gone);
  }
  EXPECT_TRUE(top_gone);
  EXPECT_TRUE(below_gone);
  EXPECT_EQ(freed.Times(top), 1);
  EXPECT_EQ(freed.Times(below), 1);
}

TEST(LibxmlppWrappers, EndOfGroupOverAttachedNodeLeavesItsWrapper) {
  xmlNode* top = xmlNewNode(nullptr, X("top"));
  xmlNode* below = xmlNewChild(top, nullptr, X("below"), nullptr);
  bool gone = false;
  { CDOMNode handle(new Probe(below, &gone)); }
  EXPECT_FALSE(gone);
  Vexil::FreeDetached(top);
  EXPECT_TRUE(gone);
}

struct WrapperCase {
  const char* what;
  std::function<xmlNode*()> make;
  const std::type_info& wrapper;
  const char* warning;
};

TEST(NodeWrapper, MakesWrapperByNodeType) {
  const WrapperCase cases[] = {
      {"element", [] { return xmlNewNode(nullptr, X("e")); }, typeid(xmlpp::Element), ""},
      {"attribute", [] { return reinterpret_cast<xmlNode*>(xmlNewProp(nullptr, X("a"), X("v"))); },
       typeid(xmlpp::Attribute), ""},
      {"text", [] { return xmlNewText(X("t")); }, typeid(xmlpp::TextNode), ""},
      {"entity reference", [] { return xmlNewReference(nullptr, X("amp")); },
       typeid(xmlpp::EntityReference), ""},
      {"comment", [] { return xmlNewComment(X("c")); }, typeid(xmlpp::CommentNode), ""},
      {"CDATA section", [] { return xmlNewCDataBlock(nullptr, X("z"), 1); }, typeid(xmlpp::Node),
       "void Vexil::__xmlpp_node_create_wrapper(_xmlNode*)Warning: new node of unknown type "
       "created: 4\n"},
      {"processing instruction", [] { return xmlNewDocPI(nullptr, X("t"), X("d")); },
       typeid(xmlpp::Node),
       "void Vexil::__xmlpp_node_create_wrapper(_xmlNode*)Warning: new node of unknown type "
       "created: 7\n"},
  };
  for (const WrapperCase& c : cases) {
    SCOPED_TRACE(c.what);
    xmlNode* node = c.make();
    ::testing::internal::CaptureStderr();
    Vexil::__xmlpp_node_create_wrapper(node);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.warning);
    ASSERT_NE(node->_private, nullptr);
    const xmlpp::Node& wrapper = *static_cast<xmlpp::Node*>(node->_private);
    EXPECT_EQ(typeid(wrapper), c.wrapper);
    EXPECT_EQ(wrapper.cobj(), node);
    Vexil::FreeDetached(node);
  }
}

TEST(NodeWrapper, MakesNoWrapperForDocument) {
  xmlDoc* doc = xmlNewDoc(X("1.0"));
  Vexil::__xmlpp_node_create_wrapper(reinterpret_cast<xmlNode*>(doc));
  EXPECT_EQ(doc->_private, nullptr);
  xmlFreeDoc(doc);
}

TEST(NodeWrapper, MakesDtdWrapperForDtd) {
  xmlDtd* dtd = xmlNewDtd(nullptr, X("d"), nullptr, nullptr);
  Vexil::__xmlpp_node_create_wrapper(reinterpret_cast<xmlNode*>(dtd));
  ASSERT_NE(dtd->_private, nullptr);
  xmlpp::Dtd* wrapper = static_cast<xmlpp::Dtd*>(dtd->_private);
  EXPECT_EQ(wrapper->cobj(), dtd);
  delete wrapper;
  xmlFreeDtd(dtd);
}

TEST(NodeWrapper, KeepsWrapperThatIsThere) {
  xmlNode* node = xmlNewCDataBlock(nullptr, X("z"), 1);
  bool gone = false;
  Probe* wrapper = new Probe(node, &gone);
  ::testing::internal::CaptureStderr();
  Vexil::__xmlpp_node_create_wrapper(node);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(node->_private, wrapper);
  Vexil::FreeDetached(node);
  EXPECT_TRUE(gone);
}

}  // namespace
