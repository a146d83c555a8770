// The Python module's native part, `lumetra._lumetra`: contexts, pictures
// and the filter catalogue. The graph that users write is the Python
// package's (lumetra/__init__.py); it builds through these.

#include "CliError.h"
#include "FilterCatalog.h"
#include "OutputPicture.h"
#include "PictureArrays.h"
#include "PythonContext.h"

#include <lumetra/lumetra.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cmath>

namespace py = pybind11;

namespace {

// A kernel that does not compile: the compiler's lines are in its message.
struct KernelCompileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// A picture file that cannot be read or written.
struct PictureFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string roleName(LMParameter::Role role)
{
    switch (role) {
    case LMParameter::Role::Input: return "input";
    case LMParameter::Role::Control: return "control";
    case LMParameter::Role::Uniform: return "uniform";
    case LMParameter::Role::Setting: return "setting";
    }
    return "";
}

// Every filter of the registry as the tool and the module know it.
py::list filterDescriptions()
{
    py::list filters;
    for (const LMFilterRegistry::Entry& entry : LMFilterRegistry::shared().entries()) {
        const LMFilterDeclaration& declaration = *entry.declaration;
        py::list parameters;
        for (const LMParameter* parameter : toolParameters(declaration)) {
            py::dict description;
            description["key"] = parameter->keyInTool();
            description["role"] = roleName(parameter->role);
            description["type"] = parameter->typeDescription();
            description["required"] = parameter->isRequired() || parameter->role == LMParameter::Role::Input;
            description["default"] = parameter->isRequired() ? std::string() : parameter->defaultTextInTool();
            description["help"] = parameter->help;
            parameters.append(description);
        }
        py::dict filter;
        filter["name"] = declaration.toolName();
        filter["group"] = declaration.group();
        filter["summary"] = declaration.summary();
        filter["parameters"] = parameters;
        filter["help"] = filterHelpText(declaration.toolName());
        filters.append(filter);
    }
    return filters;
}

std::shared_ptr<LMPicture> readPicture(const std::string& path)
{
    try {
        return readPictureFile(path, moduleLog(), 1L << 30);
    } catch (const CliError& error) {
        throw PictureFileError(error.what());
    }
}

void writePicture(const LMPicture& picture, const std::string& path, const std::string& format, int quality,
                  bool lossless, int depth)
{
    if (quality < 1 || quality > 100)
        throw std::invalid_argument("quality must be 1 to 100, not " + std::to_string(quality));
    if (depth != 0 && depth != 8 && depth != 16)
        throw std::invalid_argument("depth must be 8 or 16, not " + std::to_string(depth));
    LMPictureFileOptions options;
    options.format = outputFormat(path, format);
    options.quality = quality;
    options.lossless = lossless;
    options.bitsPerSample = depth;
    bool written = false;
    {
        py::gil_scoped_release release;
        moduleLog().takeLines();
        written = picture.writeToFile(path, options);
    }
    if (!written) {
        const std::string reason = moduleLog().lastLineContaining(path);
        throw PictureFileError(reason.empty() ? "cannot write " + path : reason);
    }
}

LMSize sizeOf(const std::pair<double, double>& size)
{
    return {size.first, size.second};
}

} // namespace

PYBIND11_MODULE(_lumetra, module)
{
    module.doc() = "The native part of the lumetra package.";
    module.attr("version") = LumetraVersionNumber;

    auto kernelError = py::register_exception<KernelCompileError>(module, "KernelError", PyExc_ValueError);
    py::register_exception<PictureFileError>(module, "PictureFileError", PyExc_OSError);
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown)
                std::rethrow_exception(thrown);
        } catch (const CliError& error) {
            // Usage errors are the caller's values; the rest, what the library met.
            if (error.status() == CliError::usageStatus)
                PyErr_SetString(PyExc_ValueError, error.what());
            else
                PyErr_SetString(PyExc_RuntimeError, error.what());
        }
    });
    (void)kernelError;

    module.def("filters", &filterDescriptions, "Every built-in filter: name, group, summary, parameters, help.");
    module.def("filter_list_text", &filterListText);
    module.def("draws_completed", &drawsCompleted, "How many draws have finished in this process.");
    module.def(
        "check",
        [](const std::string& name, const std::vector<std::pair<std::string, std::string>>& parameters) {
            checkChain({FilterSpec{name, parameters}});
        },
        "Raises ValueError, with the tool's words, unless the filter and its key=value texts are valid.");

    py::class_<LMPicture, std::shared_ptr<LMPicture>>(module, "Picture")
        .def_static("from_array", &pictureFromArray)
        .def_static("read", &readPicture)
        .def("to_array", &arrayFromPicture, py::arg("dtype"), py::arg("channels"))
        .def("write", &writePicture, py::arg("path"), py::arg("format") = "", py::arg("quality") = 90,
             py::arg("lossless") = false, py::arg("depth") = 0)
        .def_property_readonly("width", [](const LMPicture& picture) { return long(picture.size().width); })
        .def_property_readonly("height", [](const LMPicture& picture) { return long(picture.size().height); })
        .def_property_readonly("bits", &LMPicture::bitsPerSample)
        .def_property_readonly("grey", &LMPicture::isGrey)
        .def_property_readonly("opaque", &LMPicture::isOpaque)
        .def("flattened",
             [](const LMPicture& picture, int red, int green, int blue) {
                 auto flat =
                     picture.pictureFlattenedOnto(LMRGBA::fromBytes(uint8_t(red), uint8_t(green), uint8_t(blue)));
                 if (!flat)
                     throw std::runtime_error("out of memory flattening a picture");
                 return flat;
             })
        .def("take_traits", [](LMPicture& picture, const LMPicture& from) {
            picture.setGrey(from.isGrey());
            picture.setICCProfile(from.iccProfile());
            picture.setExifData(from.exifData());
        });

    py::class_<BuiltNode>(module, "BuiltNode").def_property_readonly("size", [](const BuiltNode& node) {
        return std::pair(node.size.width, node.size.height);
    });

    py::class_<PythonContext>(module, "Context")
        .def(py::init([](std::pair<double, double> size, bool caching, bool fusion) {
                 py::gil_scoped_release release;
                 return std::make_unique<PythonContext>(sizeOf(size), caching, fusion);
             }),
             py::arg("size"), py::arg("caching"), py::arg("fusion"))
        .def("close", &PythonContext::close, py::call_guard<py::gil_scoped_release>())
        .def_property_readonly("closed", &PythonContext::isClosed)
        .def_property(
            "size", [](PythonContext& context) { return std::pair(context.size().width, context.size().height); },
            [](PythonContext& context, std::pair<double, double> size) { context.setSize(sizeOf(size)); })
        .def_property("caching", &PythonContext::caching, &PythonContext::setCaching)
        .def_property("fusion", &PythonContext::fusion, &PythonContext::setFusion)
        .def("info", &PythonContext::info, py::call_guard<py::gil_scoped_release>())
        .def("upload", &PythonContext::upload, py::call_guard<py::gil_scoped_release>())
        .def("upload_array",
             [](PythonContext& context, const py::array& array) {
                 // Colour rows of bytes or 16-bit samples go up as they are (see graph.source_node).
                 const bool bytes = array.dtype().is(py::dtype::of<uint8_t>());
                 if (array.ndim() != 3 || array.shape(2) != 3 || !(array.flags() & py::array::c_style) ||
                     !(bytes || array.dtype().is(py::dtype::of<uint16_t>())))
                     throw std::invalid_argument("upload_array takes packed height × width × 3 uint8 or uint16 rows");
                 const void* pixels = array.data();
                 py::gil_scoped_release release;
                 return context.uploadPixels(pixels, long(array.shape(1)), long(array.shape(0)), 3, bytes ? 8 : 16);
             })
        .def("fitted",
             [](PythonContext& context, const BuiltNode& node, std::pair<double, double> size) {
                 py::gil_scoped_release release;
                 return context.fitted(node, sizeOf(size));
             })
        .def("open_input",
             [](PythonContext& context, std::pair<double, double> size) { return context.openInput(sizeOf(size)); })
        .def("feed", &PythonContext::feed, py::call_guard<py::gil_scoped_release>())
        .def(
            "build",
            [](PythonContext& context, const std::string& name,
               const std::vector<std::pair<std::string, std::string>>& parameters, const BuiltNode* chainInput,
               std::pair<double, double> size, const std::map<std::string, BuiltNode>& namedInputs,
               const std::map<std::string, std::string>& kernels) {
                py::gil_scoped_release release;
                try {
                    return context.build(name, parameters, chainInput, sizeOf(size), namedInputs, kernels);
                } catch (const CliError& error) {
                    if (name == "kernel" && std::string(error.what()).find(" does not compile") != std::string::npos)
                        throw KernelCompileError(error.what());
                    throw;
                }
            },
            py::arg("name"), py::arg("parameters"), py::arg("chain_input").none(true), py::arg("size"),
            py::arg("named_inputs"), py::arg("kernels"))
        .def("draw", &PythonContext::draw, py::arg("node"), py::arg("bits"), py::call_guard<py::gil_scoped_release>())
        .def(
            "draw_array",
            [](PythonContext& context, const BuiltNode& node, const std::string& dtype, int channels) -> py::object {
                // Colour at the depth the targets are read at goes straight into the array.
                if (channels == 3 && (dtype == "uint8" || dtype == "uint16")) {
                    const long width = long(node.size.width), height = long(node.size.height);
                    py::array array = dtype == "uint8" ? py::array(py::dtype::of<uint8_t>(), {height, width, 3L})
                                                       : py::array(py::dtype::of<uint16_t>(), {height, width, 3L});
                    void* pixels = array.mutable_data();
                    bool read = false;
                    {
                        py::gil_scoped_release release;
                        read = context.drawInto(node, 3, dtype == "uint8" ? 8 : 16, pixels, width, height);
                    }
                    if (read)
                        return array;
                }
                std::shared_ptr<LMPicture> picture;
                {
                    py::gil_scoped_release release;
                    picture = context.draw(node, dtype == "uint8" ? 8 : 16);
                }
                return arrayFromPicture(*picture, dtype, channels);
            },
            py::arg("node"), py::arg("dtype"), py::arg("channels"));
}
