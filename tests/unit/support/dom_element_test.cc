// CDOMElement: attributes and text, with their exact messages.
#include <gtest/gtest.h>
#include <libxml++/nodes/element.h>
#include <libxml/tree.h>

#include <functional>
#include <map>
#include <string>

#include "support/dom_document.h"
#include "support/dom_element.h"
#include "xml_test_util.h"

namespace {

using sarvik::testing::SaveText;
using sarvik::testing::XmlErrorText;
using Vexil::CDOMElement;
using Vexil::CDOMNode;

class ElementAccess : public ::testing::Test {
 protected:
  void SetUp() override {
    sarvik::testing::LoadText(document,
                              "<a xmlns:p=\"urn:p\" p:k=\"first\" k=\"second\" blank=\"\">"
                              "<e/><t>one<i/>two</t><v x=\"1\"/></a>");
    root = document.GetRootNode();
  }

  CDOMElement Select(const char* xpath) { return root.SelectSingleNode(xpath); }

  Vexil::CDOMXmlDocument document;
  CDOMElement root;
};

TEST_F(ElementAccess, MissingAttributeRaisesWithElementAndAttribute) {
  EXPECT_EQ(XmlErrorText([&] { Select("v").GetAttributeValue("missing"); }),
            "CDOMElement::GetAttributeValue: ERROR: get_attribute() failed. elem=v attr=missing\n");
}

TEST_F(ElementAccess, AttributeWithEmptyValueGivesEmptyString) {
  EXPECT_EQ(root.GetAttributeValue("blank"), "");
  EXPECT_EQ(Select("v").GetAttributeValue("x"), "1");
}

TEST_F(ElementAccess, SetAttributeValueReplacesOrAdds) {
  CDOMElement v = Select("v");
  v.SetAttributeValue("x", "2");
  v.SetAttributeValue("y", "3");
  EXPECT_EQ(v.GetAttributeValue("x"), "2");
  EXPECT_NE(SaveText(document).find("<v x=\"2\" y=\"3\"/>"), std::string::npos);
}

TEST_F(ElementAccess, RemoveAttributeOfAbsentOneRaisesNothing) {
  CDOMElement v = Select("v");
  v.RemoveAttribute("missing");
  v.RemoveAttribute("x");
  EXPECT_NE(SaveText(document).find("<v/>"), std::string::npos);
}

TEST_F(ElementAccess, GetTextOfEmptyElementRaises) {
  EXPECT_EQ(XmlErrorText([&] { Select("e").GetText(); }),
            "CDOMElement::GetText: ERROR: get_child_text() failed. elem=e\n");
}

TEST_F(ElementAccess, GetTextOfEmptyTextChildGivesEmptyString) {
  CDOMElement e = Select("e");
  e.SetText("");
  EXPECT_TRUE(e.HasChildNodes());
  EXPECT_EQ(e.GetText(), "");
}

TEST_F(ElementAccess, GetTextOfMixedContentGivesFirstTextChild) {
  EXPECT_EQ(Select("t").GetText(), "one");
}

TEST_F(ElementAccess, SetTextReplacesFirstTextChildOrAddsOne) {
  Select("t").SetText("1");
  Select("e").SetText("new");
  EXPECT_NE(SaveText(document).find("<e>new</e><t>1<i/>two</t>"), std::string::npos);
}

TEST_F(ElementAccess, AttributeMapKeepsFirstOfSameName) {
  const std::map<Glib::ustring, Glib::ustring> expected = {{"blank", ""}, {"k", "first"}};
  EXPECT_EQ(root.GetAttributeMap(), expected);
}

TEST_F(ElementAccess, AttributeMapOfElementWithoutAttributesRaises) {
  EXPECT_EQ(XmlErrorText([&] { Select("e").GetAttributeMap(); }),
            "CDOMElement::GetAttributeMap: ERROR: no attributes found. elem=e\n");
}

TEST_F(ElementAccess, ConversionFromAnyNodeJoinsGroupAndChecksNothing) {
  CDOMNode text = Select("t").GetChildNodes().front();
  ASSERT_EQ(text.GetNodeType(), XML_TEXT_NODE);
  CDOMElement converted(text);
  EXPECT_EQ(converted.GetNode(), text.GetNode());
  EXPECT_EQ(converted.GetShare().GetCount(), text.GetShare().GetCount());
  EXPECT_EQ(sarvik::testing::GroupSize(text), 2u);
}

TEST_F(ElementAccess, NodeWithoutWrapperRaisesObjectsNotFound) {
  CDOMElement e = Select("e");
  xmlNode* node = e.GetNode()->cobj();
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { e.GetAttributeValue("k"); },
       "CDOMElement::GetAttributeValue: ERROR: objects not found. elem=e attr=k\n"},
      {[&] { e.SetAttributeValue("k", "v"); },
       "CDOMElement::SetAttributeValue: ERROR: objects not found. elem=e attr=k value=v\n"},
      {[&] { e.RemoveAttribute("k"); },
       "CDOMElement::RemoveAttribute: ERROR: objects not found. elem=e attr=k\n"},
      {[&] { e.GetText(); }, "CDOMElement::GetText: ERROR: objects not found. elem=e\n"},
      {[&] { e.SetText("t"); }, "CDOMElement::SetText: ERROR: objects not found. elem=e text=t\n"},
      {[&] { e.GetAttributeMap(); },
       "CDOMElement::GetAttributeMap: ERROR: objects not found. elem=e\n"},
  };
  // The operations reach the element through the node's _private field alone.
  node->_private = nullptr;
  for (const auto& [call, message] : cases) EXPECT_EQ(XmlErrorText(call), message);
  node->_private = e.GetNode();
  EXPECT_EQ(SaveText(document).find("k=\"v\""), std::string::npos);
}

TEST(ElementOverOtherNode, RefusedSetAttributeRaises) {
  // An element wrapper over a text node, as a caller could make one: libxml2 refuses attributes.
  xmlNode* text = xmlNewText(reinterpret_cast<const xmlChar*>("t"));
  CDOMElement handle(new xmlpp::Element(text));
  EXPECT_EQ(XmlErrorText([&] { handle.SetAttributeValue("k", "v"); }),
            "CDOMElement::SetAttributeValue: ERROR: set_attribute() failed. elem=text attr=k "
            "value=v\n");
}

}  // namespace
