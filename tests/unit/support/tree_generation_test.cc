// The count of tree changes: every changing operation of the model moves it, reading does not.
#include "support/tree_generation.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/dom_document.h"
#include "xml_test_util.h"

namespace {

using Vexil::CDOMElement;
using Vexil::TreeGeneration;

// Runs `change` and expects it to move the count.
void ExpectCounted(const std::string& name, const std::function<void()>& change) {
  uint64_t before = TreeGeneration();
  change();
  EXPECT_GT(TreeGeneration(), before) << name;
}

TEST(TreeGeneration, EveryChangeMovesTheCount) {
  Vexil::CDOMXmlDocument document;
  sarvik::testing::LoadText(document, "<r a=\"1\" x=\"0\"><b>t</b><c/></r>");
  {
    CDOMElement root = document.GetRootNode();
    CDOMElement b(root.SelectSingleNode("b"));
    ExpectCounted("SetAttributeValue", [&] { root.SetAttributeValue("a", "2"); });
    // "x", not "a": the wrapper that setting "a" made would be left behind by its removal.
    ExpectCounted("RemoveAttribute", [&] { root.RemoveAttribute("x"); });
    ExpectCounted("SetText", [&] { b.SetText("u"); });
    ExpectCounted("AppendChild", [&] { root.AppendChild(document.CreateElement("d")); });
    ExpectCounted("InsertBefore", [&] { root.InsertBefore(document.CreateElement("e"), b); });
    ExpectCounted("ReplaceChild", [&] {
      root.ReplaceChild(document.CreateElement("f"), root.SelectSingleNode("c"));
    });
    ExpectCounted("RemoveChild", [&] { root.RemoveChild(root.SelectSingleNode("d")); });
    // The old root, unlinked by SetRootNode, is freed with this handle.
    ExpectCounted("SetRootNode", [&] { document.SetRootNode(document.CreateElement("g")); });
  }
  ExpectCounted("Load", [&] { sarvik::testing::LoadText(document, "<r/>"); });
  ExpectCounted("failed Load",
                [&] { EXPECT_ANY_THROW(sarvik::testing::LoadText(document, "<r>")); });
}

TEST(TreeGeneration, ReadsAndDetachedNodesLeaveTheCount) {
  Vexil::CDOMXmlDocument document;
  sarvik::testing::LoadText(document, "<r a=\"1\"><b>t</b></r>");
  uint64_t before = TreeGeneration();
  CDOMElement root = document.GetRootNode();
  root.GetAttributeValue("a");
  CDOMElement(root.SelectSingleNode("b")).GetText();
  root.SelectNodes("b");
  root.ExistNode("x");
  document.CreateElement("detached");
  EXPECT_EQ(TreeGeneration(), before);
}

}  // namespace
