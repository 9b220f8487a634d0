// Writes the starting corpus of each fuzz target into <folder>/<target>/: the descriptions the application
// really meets (the simulated cameras' own, Aravis' Fake camera's, a test fixture's, a small one of a large
// camera's shape) and a parameter file saved from the parameter file body's node map.
// Usage: fuzz_seeds <folder>
#include "orna/core/benchsupport/largedescription.h"
#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simxml.h"
#include "orna/core/system.h"
#include "tests/fuzz/fuzz_bodies.h"
#include "tests/orna/core/fixture_xml.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

void Write(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary) << text;
    std::printf("seed %s (%zu bytes)\n", file.c_str(), text.size());
}

std::string FakeCameraXml()
{
    using namespace orna::core;
    std::string xml;
    lumivue::fuzz::Quietly([&] {
        auto producer = ProducerLibrary::Construct("aravis:Fake");
        auto system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        auto iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(500);
        auto device = iface->GetDevices().at(0)->OpenDevice(DeviceAccessType::Control);
        xml = device->GetRemoteDevice()->GetNodeMap()->GetXml();
    });
    return xml;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: fuzz_seeds <folder>\n");
        return 2;
    }
    ::setenv("ORNA_TRANSPORTS", "fake", 1);
    lumivue::fuzz::EnsureLibrary();
    const std::filesystem::path root = argv[1];
    const auto xmlDir = root / "genicam_xml";
    const auto parameterDir = root / "parameter_file";
    std::filesystem::create_directories(xmlDir);
    std::filesystem::create_directories(parameterDir);

    for (const char* model : {"color", "mono", "service", "color12mp"})
    {
        orna::core::sim::SimCameraConfig config;
        config.model = model;
        config.serviceFirmware = std::string(model) == "service";
        Write(xmlDir / (std::string("sim-") + model + ".xml"), orna::core::sim::BuildGenICamXml(config));
    }
    Write(xmlDir / "fixture.xml", orna::core::test::kFixtureXml);
    Write(xmlDir / "large-shape.xml", orna::core::benchsupport::GenerateLargeDescription(6).xml);
    const std::string fake = FakeCameraXml();
    if (!fake.empty())
        Write(xmlDir / "aravis-fake.xml", fake);
    else
        std::fprintf(stderr, "fuzz_seeds: Aravis' Fake camera gave no description\n");

    // The reader alone: small texts that reach its every branch (the fast subset and what it leaves to libxml2).
    const auto readerDir = root / "xml_reader";
    std::filesystem::create_directories(readerDir);
    Write(readerDir / "fixture.xml", orna::core::test::kFixtureXml);
    if (!fake.empty())
        Write(readerDir / "aravis-fake.xml", fake);
    Write(readerDir / "references.xml",
          "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<!-- head --><R a='&#65;&amp;' "
          "xmlns:x=\"u\" x:b=\"1\">\r\n<I Name=\"A\">v<!-- c -->&lt;<![CDATA[<raw>]]>&#x263A;<?pi x?></I><E/></R>\n");
    Write(readerDir / "doctype.xml", "<?xml version=\"1.0\"?><!DOCTYPE R [<!ENTITY e \"val\">]><R><I>&e;</I></R>");
    Write(readerDir / "prefixed.xml", "<g:R xmlns:g=\"u\"><g:I Name=\"A\">1</g:I></g:R>");
    Write(readerDir / "latin1.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><R><I>\xE9</I></R>");

    auto map = orna::core::detail::CreateLocalNodeMap(lumivue::fuzz::ZeroBank(), lumivue::fuzz::ParameterFileXml());
    const auto saved = parameterDir / "saved.txt";
    std::string error;
    if (!camera::SaveParameterFile(map, saved.string(), error))
    {
        std::fprintf(stderr, "fuzz_seeds: %s\n", error.c_str());
        return 1;
    }
    std::printf("seed %s\n", saved.c_str());

    // A desk of one camera window with each kind of panel that has own fields, and an old node tree.
    const auto workspaceDir = root / "workspace_file";
    std::filesystem::create_directories(workspaceDir);
    workspace::Document desk;
    for (int type : {0, 1, 4, 25, 27, 29, 30, 9})
    {
        workspace::Element e;
        e.index = static_cast<int>(desk.elements.size());
        e.type = type;
        e.parent = type == 0 ? -1 : 0;
        e.width = 200;
        e.height = 100;
        if (type == 0)
        {
            e.camera.opened = 1;
            e.camera.serialNumber = QStringLiteral("SN1");
            e.camera.acquisition = 1;
        }
        for (const QString& key : workspace::FieldKeys(type, true))
            e.fields.append({key, QStringLiteral("1")});
        desk.elements.push_back(e);
    }
    Write(workspaceDir / "desk.xml", workspace::Write(desk).toStdString());
    std::string old = workspace::Write(desk).toStdString();
    old.replace(old.find("1.2.0.0"), 7, "1.1.0.0");
    Write(workspaceDir / "old-version.xml", old);
    return 0;
}
