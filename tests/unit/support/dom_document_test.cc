// CDOMXmlDocument: loading, saving, the root element, made nodes and node paths.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml++/exceptions/exception.h>
#include <libxml/tree.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "support/dom_document.h"
#include "support/dom_element.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "xml_test_util.h"

namespace {

using sarvik::testing::FreedNodes;
using sarvik::testing::LoadText;
using sarvik::testing::SaveText;
using sarvik::testing::XmlErrorText;
using Vexil::CDOMElement;
using Vexil::CDOMNode;
using Vexil::CDOMXmlDocument;

const char kUtf8Head[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Leaves `document` without a tree, as a failed Load does.
void FailLoad(CDOMXmlDocument& document) {
  EXPECT_EQ(XmlErrorText([&] { LoadText(document, "<a>"); }),
            "CDOMXmlDocument::Load: ERROR: parse_stream() failed.\n");
}

TEST(DocumentSave, DefaultEncodingIsUtf8InFileAndStream) {
  sarvik::testing::TempDir dir;
  CDOMXmlDocument document;
  LoadText(document, "<a>\xC3\xA9</a>");
  document.Save(dir / "out.xml");
  const std::string expected = std::string(kUtf8Head) + "<a>\xC3\xA9</a>\n";
  EXPECT_EQ(sarvik::testing::read_file(dir / "out.xml"), expected);
  EXPECT_EQ(SaveText(document), expected);
}

TEST(DocumentSave, GivenEncodingIsUsedInFileAndStream) {
  sarvik::testing::TempDir dir;
  CDOMXmlDocument document("ISO-8859-1");
  LoadText(document, "<a>\xC3\xA9</a>");
  document.Save(dir / "out.xml");
  const std::string expected = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xE9</a>\n";
  EXPECT_EQ(sarvik::testing::read_file(dir / "out.xml"), expected);
  EXPECT_EQ(SaveText(document), expected);
}

TEST(DocumentSave, FileIsFormattedAndStreamIsNot) {
  sarvik::testing::TempDir dir;
  CDOMXmlDocument document;
  LoadText(document, "<a><b><c/></b></a>");
  document.Save(dir / "out.xml");
  EXPECT_EQ(sarvik::testing::read_file(dir / "out.xml"),
            std::string(kUtf8Head) + "<a>\n  <b>\n    <c/>\n  </b>\n</a>\n");
  EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<a><b><c/></b></a>\n");
}

TEST(DocumentSave, UnwritablePathRaisesWithPath) {
  sarvik::testing::TempDir dir;
  CDOMXmlDocument document;
  LoadText(document, "<a/>");
  const std::string path = dir / "missing/out.xml";
  EXPECT_EQ(XmlErrorText([&] { document.Save(path); }),
            "CDOMXmlDocument::Save: ERROR: write_to_file_formatted() failed. file=" + path + "\n");
}

TEST(DocumentSave, WithoutTreeRaisesLikeRefusedWrite) {
  sarvik::testing::TempDir dir;
  CDOMXmlDocument document;
  FailLoad(document);
  const std::string path = dir / "out.xml";
  EXPECT_EQ(XmlErrorText([&] { document.Save(path); }),
            "CDOMXmlDocument::Save: ERROR: write_to_file_formatted() failed. file=" + path + "\n");
  EXPECT_EQ(XmlErrorText([&] { SaveText(document); }),
            "CDOMXmlDocument::Save: ERROR: write_to_stream() failed.\n");
  EXPECT_FALSE(sarvik::testing::exists(path));
}

TEST(DocumentLoad, MissingAndBrokenFilesRaiseSameTextWithPath) {
  sarvik::testing::TempDir dir;
  sarvik::testing::write_file(dir / "broken.xml", "<a><b></a>");
  for (const char* name : {"missing.xml", "broken.xml"}) {
    const std::string path = dir / name;
    CDOMXmlDocument document;
    EXPECT_EQ(XmlErrorText([&] { document.Load(path); }),
              "CDOMXmlDocument::Load: ERROR: parse_file() failed. file=" + path + "\n");
  }
}

TEST(DocumentLoad, FileIsRead) {
  sarvik::testing::TempDir dir;
  sarvik::testing::write_file(dir / "in.xml", "<?xml version=\"1.0\"?>\n<a><b/></a>\n");
  CDOMXmlDocument document;
  document.Load(dir / "in.xml");
  EXPECT_EQ(document.GetRootNode().SelectSingleNode("b").GetName(), "b");
}

TEST(DocumentLoad, SecondLoadReplacesTree) {
  CDOMXmlDocument document;
  LoadText(document, "<a/>");
  LoadText(document, "<z/>");
  EXPECT_EQ(document.GetRootNode().GetName(), "z");
}

TEST(DocumentStreams, OperatorsLoadAndSaveAndReturnStream) {
  CDOMXmlDocument document;
  std::istringstream in("<a><b/></a>");
  EXPECT_EQ(&(in >> document), &in);
  std::ostringstream out;
  EXPECT_EQ(&(out << document), &out);
  EXPECT_EQ(out.str(), std::string(kUtf8Head) + "<a><b/></a>\n");
}

TEST(DocumentStreams, ExtractionOfBrokenTextRaises) {
  CDOMXmlDocument document;
  std::istringstream in("not xml");
  EXPECT_EQ(XmlErrorText([&] { in >> document; }),
            "CDOMXmlDocument::Load: ERROR: parse_stream() failed.\n");
}

TEST(DocumentRoot, TwoCallsGiveTwoGroupsOverOneElement) {
  CDOMXmlDocument document;
  LoadText(document, "<a><b/></a>");
  FreedNodes freed;
  {
    auto* first = new CDOMElement(document.GetRootNode());
    CDOMElement second = document.GetRootNode();
    EXPECT_EQ(first->GetNode(), second.GetNode());
    EXPECT_NE(first->GetShare().GetCount(), second.GetShare().GetCount());
    EXPECT_EQ(sarvik::testing::GroupSize(second), 1u);
    delete first;  // the first ends before the second
  }
  {
    CDOMElement first = document.GetRootNode();
    auto* second = new CDOMElement(document.GetRootNode());
    delete second;  // and the other way round
  }
  EXPECT_TRUE(freed.names().empty());
  EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<a><b/></a>\n");
}

TEST(DocumentRoot, DocumentWithoutRootRaisesRootEmpty) {
  CDOMXmlDocument fresh;
  EXPECT_EQ(XmlErrorText([&] { fresh.GetRootNode(); }),
            "CDOMXmlDocument::GetRootNode: ERROR: root node empty.\n");
  CDOMXmlDocument failed;
  FailLoad(failed);
  EXPECT_EQ(XmlErrorText([&] { failed.GetRootNode(); }),
            "CDOMXmlDocument::GetRootNode: ERROR: root node empty.\n");
}

TEST(DocumentRoot, SetRootNodeMakesCopyRootAndLeavesElementDetached) {
  CDOMXmlDocument document;
  FreedNodes freed;
  const void* element_node = nullptr;
  {
    CDOMElement element = document.CreateElement("r");
    element_node = element.GetNode()->cobj();
    element.SetAttributeValue("v", "1");
    document.SetRootNode(element);
    CDOMElement root = document.GetRootNode();
    EXPECT_NE(root.GetNode(), element.GetNode());
    EXPECT_EQ(XmlErrorText([&] { element.GetParent(); }),
              "CDOMNode::GetParent: ERROR: no parent found. node=r\n");
    element.SetAttributeValue("v", "2");
    EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<r v=\"1\"/>\n");
  }
  EXPECT_EQ(freed.Times(element_node), 1);
  // The old value's text when "v" was set again; then r, its attribute and the value's text.
  EXPECT_THAT(freed.names(), ::testing::UnorderedElementsAre("text", "r", "v", "text"));
}

TEST(DocumentRoot, SetRootNodeUnlinksPreviousRoot) {
  CDOMXmlDocument document;
  LoadText(document, "<old/>");
  FreedNodes freed;
  {
    // The previous root is left to whoever holds it; this handle frees it when it goes.
    CDOMElement old_root = document.GetRootNode();
    document.SetRootNode(document.CreateElement("new"));
    EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<new/>\n");
    EXPECT_EQ(old_root.GetNode()->cobj()->parent, nullptr);
    EXPECT_EQ(freed.names(), std::vector<std::string>{"new"});  // the made element
  }
  EXPECT_EQ(freed.names(), (std::vector<std::string>{"new", "old"}));
}

TEST(DocumentRoot, SetRootNodeWithEmptyHandleRaisesWithoutElement) {
  CDOMXmlDocument document;
  EXPECT_EQ(XmlErrorText([&] { document.SetRootNode(CDOMNode()); }),
            "CDOMXmlDocument::SetRootNode: ERROR: object not found.\n");
}

TEST(DocumentRoot, SetRootNodeWithoutTreeRaisesObjectNotFound) {
  CDOMXmlDocument document;
  FailLoad(document);
  CDOMElement element = document.CreateElement("r");
  EXPECT_EQ(XmlErrorText([&] { document.SetRootNode(element); }),
            "CDOMXmlDocument::SetRootNode: ERROR: object not found. elem=r\n");
}

TEST(DocumentMaking, ElementNameIsTakenUnchecked) {
  CDOMXmlDocument document;
  CDOMElement element = document.CreateElement("/x");
  EXPECT_EQ(element.GetName(), "/x");
  EXPECT_EQ(element.GetNodeType(), XML_ELEMENT_NODE);
  EXPECT_EQ(sarvik::testing::GroupSize(element), 1u);
}

TEST(DocumentMaking, ProcessingInstructionWarnsAndCanBeInserted) {
  CDOMXmlDocument document;
  LoadText(document, "<a><b/></a>");
  CDOMElement root = document.GetRootNode();
  ::testing::internal::CaptureStderr();
  CDOMNode instruction = document.CreateProcessingInstruction("t", "d");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "void Vexil::__xmlpp_node_create_wrapper(_xmlNode*)Warning: new node of unknown type "
            "created: 7\n");
  EXPECT_EQ(instruction.GetNodeType(), XML_PI_NODE);
  EXPECT_EQ(instruction.GetName(), "t");
  root.InsertBefore(instruction, root.SelectSingleNode("b"));
  EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<a><?t d?><b/></a>\n");
}

class NodePaths : public ::testing::Test {
 protected:
  void SetUp() override {
    LoadText(document, "<a><b><c/></b><d/><d/></a>");
    root = document.GetRootNode();
  }

  Vexil::CDOMXmlDocument document;
  CDOMNode root;
};

TEST_F(NodePaths, ExistingSingleNodeIsReturnedUnchanged) {
  CDOMNode found = document.CreateNodes("b/c", nullptr);
  EXPECT_EQ(found.GetNode(), root.SelectSingleNode("b/c").GetNode());
  CDOMNode base = root.SelectSingleNode("b");
  EXPECT_EQ(document.CreateNodes("c", &base).GetNode(), found.GetNode());
  EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<a><b><c/></b><d/><d/></a>\n");
}

TEST_F(NodePaths, TwoMatchesRaiseWithXPathAndBase) {
  EXPECT_EQ(XmlErrorText([&] { document.CreateNodes("d", nullptr); }),
            "CDOMXmlDocument::CreateNodes: ERROR: More than one Xpath exist. xpath=d "
            "basenode=a\n");
}

TEST_F(NodePaths, DocumentWithoutRootRaisesRootMessageUnchanged) {
  CDOMXmlDocument fresh;
  EXPECT_EQ(XmlErrorText([&] { fresh.CreateNodes("x", nullptr); }),
            "CDOMXmlDocument::GetRootNode: ERROR: root node empty.\n");
}

TEST_F(NodePaths, OneMissingStepLandsAsCopyAndCallerGetsDetachedElement) {
  FreedNodes freed;
  {
    CDOMNode made = document.CreateNodes("b/e", nullptr);
    EXPECT_EQ(made.GetName(), "/e");
    EXPECT_EQ(XmlErrorText([&] { made.GetParent(); }),
              "CDOMNode::GetParent: ERROR: no parent found. node=/e\n");
    EXPECT_EQ(root.SelectSingleNode("b").GetChildNodes().back().GetName(), "/e");
  }
  EXPECT_EQ(freed.names(), std::vector<std::string>{"/e"});  // the detached one alone
  document.CreateNodes("b/e", nullptr);                      // not found by name: another one
  EXPECT_EQ(root.SelectSingleNode("b").GetChildNodes().size(), 3u);
}

TEST_F(NodePaths, OnlyFirstOfSeveralMissingStepsReachesTree) {
  FreedNodes freed;
  {
    CDOMNode base = root.SelectSingleNode("b");
    CDOMNode made = document.CreateNodes("c/x/y", &base);
    EXPECT_EQ(made.GetName(), "/y");
    EXPECT_FALSE(made.HasChildNodes());
    // The inner step's detached element went with the copy appended to it.
    EXPECT_THAT(freed.names(), ::testing::UnorderedElementsAre("/x", "/y"));
  }
  EXPECT_THAT(freed.names(), ::testing::UnorderedElementsAre("/x", "/y", "/y"));
  CDOMNode x = root.SelectSingleNode("b/c/*");
  EXPECT_EQ(x.GetName(), "/x");
  EXPECT_FALSE(x.HasChildNodes());
}

TEST_F(NodePaths, PathMissingToItsStartEndsInLibraryOrRangeError) {
  EXPECT_THROW(document.CreateNodes("/z", nullptr), xmlpp::exception);
  EXPECT_THROW(document.CreateNodes("z", nullptr), std::out_of_range);
  EXPECT_EQ(SaveText(document), std::string(kUtf8Head) + "<a><b><c/></b><d/><d/></a>\n");
}

}  // namespace
