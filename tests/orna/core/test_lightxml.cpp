// The description reader: its fast pass must take only what libxml2 takes (the node engine parses with libxml2),
// the facts the side index reads must not depend on which path read the text, and the chunk rewrite's spliced
// text must give the engine the same nodes.
#include "orna/core/benchsupport/largedescription.h"
#include "orna/core/detail/lightxml.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/xmlindex.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simxml.h"

#include <gtest/gtest.h>

using namespace orna::core;
using detail::LightXml;

namespace {

// Every fact of the index, in one comparable text.
std::string Facts(const detail::XmlIndex& index)
{
    std::string out;
    for (const auto& node : index.Nodes())
    {
        out += node.name + "|" + node.kind + "|" + std::to_string(node.order) + "|" + std::to_string(node.pollingTime) +
               "|" + (node.deprecated ? "D" : "") + (node.streamable ? "S" : "") + "|" + node.pValue + "|" +
               node.pPort + "|" + node.pCommandValue + "|" +
               (node.commandValue ? std::to_string(*node.commandValue) : "-") + "|" +
               (node.chunkId ? std::to_string(*node.chunkId) : "-") + "|" +
               (node.eventId ? std::to_string(*node.eventId) : "-");
        for (const auto* list : {&node.entries, &node.features, &node.selected, &node.invalidators, &node.references})
        {
            out += "|";
            for (const auto& item : *list)
                out += item + ",";
        }
        out += "\n";
    }
    return out;
}

// The same text with a document type declaration after its XML declaration: outside the fast pass's subset, so
// it is read through libxml2's normalised copy, while its content is unchanged.
std::string ThroughLibxml(const std::string& xml)
{
    const size_t at = xml.compare(0, 5, "<?xml") == 0 ? xml.find("?>") + 2 : 0;
    return xml.substr(0, at) + "\n<!DOCTYPE RegisterDescription>\n" + xml.substr(at);
}

std::vector<std::string> SimDescriptions()
{
    std::vector<std::string> texts;
    for (const auto& model : sim::SimCameraConfig::ModelNames())
    {
        sim::SimCameraConfig config;
        if (sim::SimCameraConfig::ForModel(model, "LV0001", &config))
            texts.push_back(sim::BuildGenICamXml(config));
    }
    return texts;
}

TEST(LightXml, BothPathsGiveTheSameFacts)
{
    auto texts = SimDescriptions();
    ASSERT_GE(texts.size(), 5u);
    texts.push_back(benchsupport::GenerateLargeDescription(60).xml);
    for (const auto& xml : texts)
    {
        LightXml fast;
        ASSERT_TRUE(fast.Scan(xml)) << "a description of our own is outside the fast subset";
        detail::XmlIndex direct, normalised;
        std::string error;
        ASSERT_TRUE(direct.Parse(xml, error)) << error;
        const std::string slow = ThroughLibxml(xml);
        LightXml check;
        ASSERT_TRUE(check.Read(slow, error)) << error;
        EXPECT_TRUE(check.Normalised());
        ASSERT_TRUE(normalised.Parse(slow, error)) << error;
        EXPECT_GT(direct.Nodes().size(), 10u);
        EXPECT_EQ(Facts(direct), Facts(normalised));
    }
}

// Texts libxml2 takes but the fast pass leaves to it: the facts come out as the plain form gives them.
TEST(LightXml, TextsOutsideTheSubsetAreReadThroughLibxml)
{
    const std::string plain = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Integer Name="A"><pValue>AReg</pValue><PollingTime>100</PollingTime></Integer>
  <IntReg Name="AReg"><Address>0x10</Address><pPort>Device</pPort></IntReg>
  <Command Name="Go"><pValue>AReg</pValue><CommandValue>7</CommandValue></Command>
  <Port Name="Device"/>
</RegisterDescription>)";
    detail::XmlIndex reference;
    std::string error;
    ASSERT_TRUE(reference.Parse(plain, error)) << error;

    struct Case
    {
        const char* what;
        std::string xml;
        bool fast; // whether the fast pass takes it itself
    };
    const std::vector<Case> cases = {
        {"an internal entity", R"(<?xml version="1.0"?>
<!DOCTYPE RegisterDescription [<!ENTITY poll "100">]>
<RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Integer Name="A"><pValue>AReg</pValue><PollingTime>&poll;</PollingTime></Integer>
  <IntReg Name="AReg"><Address>0x10</Address><pPort>Device</pPort></IntReg>
  <Command Name="Go"><pValue>AReg</pValue><CommandValue>7</CommandValue></Command>
  <Port Name="Device"/>
</RegisterDescription>)",
         false},
        {"Latin-1 with a non-ASCII description",
         "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
         "<RegisterDescription xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n"
         "  <Integer Name=\"A\"><Description>Gr\xF6\xDF"
         "e</Description><pValue>AReg</pValue>"
         "<PollingTime>100</PollingTime></Integer>\n"
         "  <IntReg Name=\"AReg\"><Address>0x10</Address><pPort>Device</pPort></IntReg>\n"
         "  <Command Name=\"Go\"><pValue>AReg</pValue><CommandValue>7</CommandValue></Command>\n"
         "  <Port Name=\"Device\"/>\n</RegisterDescription>",
         false},
        {"prefixed elements", R"(<?xml version="1.0"?>
<g:RegisterDescription xmlns:g="http://www.genicam.org/GenApi/Version_1_1">
  <g:Integer Name="A"><g:pValue>AReg</g:pValue><g:PollingTime>100</g:PollingTime></g:Integer>
  <g:IntReg Name="AReg"><g:Address>0x10</g:Address><g:pPort>Device</g:pPort></g:IntReg>
  <g:Command Name="Go"><g:pValue>AReg</g:pValue><g:CommandValue>7</g:CommandValue></g:Command>
  <g:Port Name="Device"/>
</g:RegisterDescription>)",
         false},
        {"references, CDATA, comments and CRLF inside values",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
         "<RegisterDescription xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\r\n"
         "  <Integer Name=\"&#65;\"><pValue>A<!-- c "
         "-->Reg</pValue><PollingTime><![CDATA[100]]></PollingTime></Integer>\r\n"
         "  <IntReg Name='AReg'><Address>0x10</Address><pPort>Dev&#x69;ce</pPort></IntReg>\r\n"
         "  <Command Name=\"Go\"><pValue>AReg</pValue><CommandValue> 7 </CommandValue></Command>\r\n"
         "  <?note fine?><Port Name=\"Device\"/>\r\n</RegisterDescription>\r\n",
         true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        LightXml fast;
        EXPECT_EQ(fast.Scan(c.xml), c.fast);
        detail::XmlIndex index;
        ASSERT_TRUE(index.Parse(c.xml, error)) << error;
        EXPECT_EQ(Facts(index), Facts(reference));
    }
}

// Nothing the fast pass takes may be refused by libxml2. Each of these is outside the fast subset; the broken
// ones are refused by libxml2 as well, with its message.
TEST(LightXml, BrokenTextsAreRefusedByBothPaths)
{
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "<a>";
    for (int i = 0; i < 300; ++i)
        deep += "</a>";
    struct Case
    {
        const char* what;
        std::string xml;
        bool broken; // libxml2 refuses it too
    };
    const std::vector<Case> cases = {
        {"mismatched end tag", "<R><A></B></R>", true},
        {"unclosed element", "<R><A>", true},
        {"'<' in an attribute", "<R a=\"x<y\"/>", true},
        {"undefined entity", "<R>&nbsp;</R>", true},
        {"character reference to NUL", "<R>&#0;</R>", true},
        {"duplicate attribute", "<R a=\"1\" a=\"2\"/>", true},
        {"']]>' in text", "<R>a]]>b</R>", true},
        {"'--' in a comment", "<R><!-- a -- b --></R>", true},
        {"invalid UTF-8", "<R>\xC3\x28</R>", true},
        {"overlong UTF-8", "<R>\xC0\xAF</R>", true},
        {"control character", "<R>\x01</R>", true},
        {"two roots", "<R/><S/>", true},
        {"text after the root", "<R/>tail", true},
        {"declaration not first", " <?xml version=\"1.0\"?><R/>", true},
        {"attributes without a blank", "<R a=\"1\"b=\"2\"/>", true},
        {"unquoted attribute", "<R a=1/>", true},
        {"version after encoding", "<?xml encoding=\"UTF-8\" version=\"1.0\"?><R/>", true},
        {"reserved instruction target", "<R><?xml version=\"1.0\"?></R>", true},
        {"too deep", deep, true},
        {"empty", "", true},
        {"undeclared prefix", "<R p:a=\"1\"/>", false},
        {"an encoding the fast pass leaves alone", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><R/>", false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        LightXml fast;
        EXPECT_FALSE(fast.Scan(c.xml));
        std::string error;
        const bool libxmlTook = LightXml::WellFormed(c.xml, error);
        if (!c.broken)
            continue;
        EXPECT_FALSE(libxmlTook);
        LightXml read;
        EXPECT_FALSE(read.Read(c.xml, error));
        EXPECT_EQ(error.rfind("The GenICam XML is not well-formed", 0), 0u) << error;
    }
}

// The chunk rewrite splices the text: the engine's copy differs (ports plain, addresses moved, blanks gone), the
// map keeps the original, and chunk nodes still read the chunk data.
TEST(LightXml, SplicedEngineTextKeepsEveryNode)
{
    orna::Library::Initialize();
    sim::SimCameraConfig config;
    ASSERT_TRUE(sim::SimCameraConfig::ForModel("color", "LV0001", &config));
    const std::string xml = sim::BuildGenICamXml(config);
    detail::XmlIndex index;
    std::string error;
    ASSERT_TRUE(index.Parse(xml, error, true)) << error;
    auto map = detail::CreateLocalNodeMap(std::make_shared<detail::RegisterBank>(), xml);
    EXPECT_EQ(map->GetXml(), xml);
    size_t reached = 0;
    for (const auto& node : index.Nodes())
    {
        if (node.kind == "Port" || node.kind == "Group")
            continue;
        reached += map->GetHasNode(node.name) ? 1 : 0;
    }
    EXPECT_GT(reached, index.Nodes().size() * 9 / 10);
}

} // namespace
