// XPath selection: node for node, exception for exception and message for message what libxml++'s
// own find gives, with no result kept across documents.
#include "support/xpath_select.h"

#include <gtest/gtest.h>
#include <libxml++/exceptions/internal_error.h>
#include <libxml/tree.h>

#include <stdarg.h>
#include <stdio.h>

#include <random>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "support/dom_document.h"
#include "support/dom_element.h"
#include "xml_test_util.h"

namespace {

using Vexil::FindNodes;

// What a selection gave: the nodes, or the exception's type and text, and the messages of the
// XML library on the way.
struct Outcome {
  xmlpp::NodeSet nodes;
  std::string error;
  std::string messages;

  bool operator==(const Outcome& other) const {
    return nodes == other.nodes && error == other.error && messages == other.messages;
  }
};

std::string library_messages;

void CollectMessage(void*, const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  library_messages += text;
}

template <class Select>
Outcome Run(Select select) {
  Outcome outcome;
  library_messages.clear();
  xmlSetGenericErrorFunc(nullptr, CollectMessage);
  try {
    outcome.nodes = select();
  } catch (const xmlpp::internal_error& error) {
    outcome.error = std::string("internal_error: ") + error.what();
  } catch (const xmlpp::exception& error) {
    outcome.error = std::string("exception: ") + error.what();
  }
  xmlSetGenericErrorFunc(nullptr, nullptr);
  outcome.messages = library_messages;
  return outcome;
}

Outcome Library(const xmlpp::Node* node, const std::string& xpath) {
  return Run([&] { return node->find(xpath); });
}

Outcome Ours(const xmlpp::Node* node, const std::string& xpath) {
  return Run([&] { return FindNodes(node, xpath); });
}

// Every element of the tree below and including `node`, in document order.
void Elements(xmlNode* node, std::vector<xmlNode*>* out) {
  for (; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE) out->push_back(node);
    if (node->type == XML_ELEMENT_NODE) Elements(node->children, out);
  }
}

// A random tree of elements named a, b, c and "x-y.z", some in a namespace (default or prefixed),
// with text, comments, processing instructions and CDATA between them.
std::string RandomDocument(std::mt19937& random, int depth) {
  static const char* const kNames[] = {"a", "b", "c", "x-y.z"};
  std::string xml;
  int children = depth == 0 ? 0 : static_cast<int>(random() % 5);
  for (int i = 0; i < children; ++i) {
    std::string name = kNames[random() % 4];
    switch (random() % 9) {
      case 0:
        xml += "<" + name + " xmlns=\"urn:other\">" + RandomDocument(random, depth - 1) + "</" +
               name + ">";
        break;
      case 1:
        xml += "<p:" + name + ">" + RandomDocument(random, depth - 1) + "</p:" + name + ">";
        break;
      case 2:
        xml += " text <!--note--> ";
        break;
      case 3:
        xml += "<?pi data?><![CDATA[raw]]>";
        break;
      default:
        xml += "<" + name + " n=\"" + std::to_string(random() % 3) + "\">" +
               RandomDocument(random, depth - 1) + "</" + name + ">";
        break;
    }
  }
  return xml;
}

TEST(FindNodes, GivesWhatTheLibraryFindGivesOnRandomTrees) {
  const std::vector<std::string> paths = {".",
                                          "a",
                                          "b",
                                          "x-y.z",
                                          "a/b",
                                          "a/b/c",
                                          "./a",
                                          "a/./b",
                                          "b/a/a",
                                          "a/c/b/x-y.z",
                                          "p:a",
                                          "a[1]",
                                          "a[@n='1']/b",
                                          "..",
                                          "../a",
                                          "*",
                                          "a/*",
                                          "//a",
                                          "/r/a",
                                          "a | b",
                                          "self::node()",
                                          "node()",
                                          "text()",
                                          "comment()",
                                          "processing-instruction()",
                                          "@n",
                                          "a/@n",
                                          "namespace::*",
                                          "descendant::b[2]",
                                          "ancestor::*",
                                          "following-sibling::a",
                                          "a/..",
                                          "a/b/..",
                                          "(a/b)",
                                          "count(a)",
                                          "name(.)",
                                          "a/",
                                          "/",
                                          "a b",
                                          "[",
                                          "a[",
                                          "unknown(a)",
                                          "$v",
                                          "a//b",
                                          "_a",
                                          "a.b",
                                          "a-b",
                                          "-a",
                                          "9a",
                                          "",
                                          "a/",
                                          "/a/b"};
  std::mt19937 random(20240531);
  for (int round = 0; round < 40; ++round) {
    Vexil::CDOMXmlDocument document;
    sarvik::testing::LoadText(
        document, "<!DOCTYPE r [<!ENTITY ent \"<a n='9'><b/></a>\">]><r xmlns:p=\"urn:p\">&ent;" +
                      RandomDocument(random, 4) + "&ent;</r>");
    std::vector<xmlNode*> elements;
    Elements(document.GetRootNode().GetNode()->cobj(), &elements);
    for (xmlNode* element : elements) {
      xmlpp::Node::create_wrapper(element);
      auto* node = static_cast<const xmlpp::Node*>(element->_private);
      for (const std::string& path : paths) {
        // The library's find first: it makes the wrappers that both hand out.
        Outcome expected = Library(node, path);
        EXPECT_EQ(Ours(node, path), expected) << "xpath " << path << " round " << round;
      }
    }
  }
}

TEST(FindNodes, RejectedAndNonNodeSetExpressionsRaiseTheLibraryErrors) {
  Vexil::CDOMXmlDocument document;
  sarvik::testing::LoadText(document, "<r><a/></r>");
  const xmlpp::Node* root = document.GetRootNode().GetNode();
  EXPECT_EQ(Ours(root, "a[").error, "exception: Invalid XPath: a[");
  EXPECT_EQ(Ours(root, "count(a)").error,
            "internal_error: Only nodeset result types are supported.");
  // Asked again, from the cache, the same.
  EXPECT_EQ(Ours(root, "a[").error, "exception: Invalid XPath: a[");
  EXPECT_EQ(Ours(root, "count(a)").error,
            "internal_error: Only nodeset result types are supported.");
}

TEST(FindNodes, GivesTheNodesOfTheDocumentLoadedLast) {
  Vexil::CDOMXmlDocument document;
  for (const char* value : {"first", "second", "third"}) {
    sarvik::testing::LoadText(
        document, std::string("<r><s><p>") + value + "</p></s><q k=\"1\">" + value + "</q></r>");
    Vexil::CDOMElement root = document.GetRootNode();
    EXPECT_EQ(Vexil::CDOMElement(root.SelectSingleNode("s/p")).GetText(), value);
    EXPECT_EQ(Vexil::CDOMElement(root.SelectSingleNode("q[@k='1']")).GetText(), value);
    EXPECT_EQ(Vexil::CDOMElement(root.SelectSingleNode("/r/q")).GetText(), value);
  }
}

TEST(FindNodes, TwoDocumentsInTurnEachGiveTheirOwnNodes) {
  Vexil::CDOMXmlDocument one;
  Vexil::CDOMXmlDocument two;
  sarvik::testing::LoadText(one, "<r><q k=\"1\">one</q></r>");
  sarvik::testing::LoadText(two, "<r><q k=\"1\">two</q></r>");
  for (int i = 0; i < 3; ++i) {
    for (const char* xpath : {"q", "q[@k='1']", "/r/q", "//q"}) {
      EXPECT_EQ(Vexil::CDOMElement(one.GetRootNode().SelectSingleNode(xpath)).GetText(), "one");
      EXPECT_EQ(Vexil::CDOMElement(two.GetRootNode().SelectSingleNode(xpath)).GetText(), "two");
    }
  }
}

TEST(FindNodes, ExpressionsBeyondTheCacheAreStillEvaluated) {
  Vexil::CDOMXmlDocument document;
  sarvik::testing::LoadText(document, "<r><a n=\"1\"/><a n=\"2\"/></r>");
  const xmlpp::Node* root = document.GetRootNode().GetNode();
  for (size_t i = 0; i < 3 * Vexil::kMaxCachedXPaths; ++i) {
    std::string xpath = "a[@n='" + std::to_string(i % 3) + "' or " + std::to_string(i) + " < 0]";
    EXPECT_EQ(Ours(root, xpath), Library(root, xpath)) << xpath;
  }
}

TEST(FindNodes, ThreadsSelectAtTheSameTimeEachWithItsOwnCache) {
  auto work = [] {
    Vexil::CDOMXmlDocument document;
    sarvik::testing::LoadText(document, "<r><a n=\"1\"><b/></a><a n=\"2\"/></r>");
    Vexil::CDOMElement root = document.GetRootNode();
    int found = 0;
    for (int i = 0; i < 200; ++i) {
      found += static_cast<int>(root.SelectNodes("a[@n]").size());
      found += static_cast<int>(root.SelectNodes("a/b").size());
    }
    return found;
  };
  int other = 0;
  std::thread thread([&] { other = work(); });
  int mine = work();
  thread.join();
  EXPECT_EQ(mine, 600);
  EXPECT_EQ(other, 600);
}

}  // namespace
