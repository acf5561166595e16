#include <cstdio>
#include <cstring>
#include <string>

#include "files/decimal.h"
#include "files/replacement.h"
#include "files/sld_layout.h"
#include "scapi/scapi.h"

namespace
{

void AppendCount(std::string& text, const char* label, int count)
{
    char line[40];
    std::snprintf(line, sizeof line, "%s%6d\r\n", label, count);
    text += line;
}

/// Writes blocks; one that is cut short is remembered and does not stop the others.
struct BlockWriter {
    std::FILE* file;
    int status = 0;

    void Write(const void* data, std::size_t size, std::size_t count = 1)
    {
        if (std::fwrite(data, size, count, file) != count) status |= SCAPI_NOT_WRITTEN;
    }
};

void WriteFixedFields(BlockWriter& out, const SOLIDC& solid)
{
    for (const std::int32_t* field :
         {&solid.sourceTime, &solid.fileVersion, &solid.triangleCount, &solid.vertexCount,
          &solid.edgeCount, &solid.baseTriangleCount})
        out.Write(field, sizeof *field);
}

void WriteArrays(BlockWriter& out, const SOLIDC& solid)
{
    const auto write = [&](const auto* records, int count) {
        if (records) out.Write(records, sizeof *records, static_cast<std::size_t>(count));
    };
    write(solid.triangles, solid.triangleCount);
    write(solid.vertices, solid.vertexCount);
    write(solid.edges, solid.edgeCount);
}

} // namespace

int SOLIDC::SC_GetSLDheader(unsigned char* buffer)
{
    std::string text = "SLD file. Version 1,01,18\r\nBINARY FILE. DO NOT MODIFY\r\n"
                       "Tamarack Software Inc.\r\n--------------------------\r\n";
    AppendCount(text, "#Triangles: ", triangleCount);
    AppendCount(text, "#Vertex:    ", vertexCount);
    if (isSimple)
        text += "SIMPLE: No Edges  \r\n";
    else
        AppendCount(text, "#Edges:     ", edgeCount);
    text += "Bbox:[";
    const char* const after[6] = {" ", " ", ", ", " ", " ", "]\r\n"};
    for (int i = 0; i < 6; ++i) {
        AppendDecimal(text, bbox[i], 4);
        text += after[i];
    }
    // Byte 26 ends the text where a file is typed to a screen.
    text += " \x1A \r\n\r\n\r\n\r\n\r\n";
    std::memset(buffer, 0, kSldHeaderBytes);
    text.copy(reinterpret_cast<char*>(buffer), text.size());
    return 0;
}

int SOLIDC::SC_SaveSLDfile(unsigned char* path)
{
    Replacement target(reinterpret_cast<const char*>(path));
    if (!target.file) return SCAPI_NOT_WRITTEN;
    // Without a buffer each block is known to be written or not when its turn is over.
    std::setvbuf(target.file.get(), nullptr, _IONBF, 0);
    BlockWriter out{target.file.get()};
    int result = 0;
    if (!isSimple) {
        result = SC_BuildVertexList();
        if (result == 0) result = SC_BuildEdgesList();
        if (result != 0) {
            // "Emptied by its save" in docs/behaviour.md.
            Release_Octree();
            Release_Lists();
        }
    }
    unsigned char header[kSldHeaderBytes];
    SC_GetSLDheader(header);
    out.Write(header, sizeof header);
    WriteFixedFields(out, *this);
    WriteArrays(out, *this);
    for (const SldField& field : SldTail(*this)) out.Write(field.data, field.bytes);
    if (out.status == 0 && !TakePlace(target)) out.status = SCAPI_NOT_WRITTEN;
    return result | out.status;
}
