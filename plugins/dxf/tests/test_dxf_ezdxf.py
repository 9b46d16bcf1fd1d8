"""The DXF plug-in against an independent reader and writer, ezdxf: drawings that
ezdxf writes in each version it writes (3DFACE TINs, polyface meshes, polylines on
named layers, blocks) read back with what ezdxf counts in them; what the store
writes opens in ezdxf without an audit error; and the round trips DXF -> JSON -> DXF
and LandXML -> DXF -> LandXML keep the mesh bit for bit and every element."""

import math
import os
import pathlib
import struct

import ezdxf
from ezdxf import disassemble
import numpy as np
import pytest

import gravok

SOURCE_DIR = pathlib.Path(__file__).resolve().parents[3]
DATA = SOURCE_DIR / "tests" / "data"
KINDS = [gravok.GradingElementType(k) for k in (0, 1, 2, 3, 4, 5, 6, 7, 100, 101, 102, 104, 105)]


def plugin(variable):
    path = os.environ.get(variable)
    if not path:
        pytest.skip(f"{variable} is not set: that plug-in is not built")
    return gravok.load_plugin(path)


@pytest.fixture(scope="module")
def plugins():
    loaded = [plugin("GRAVOK_DXF_PLUGIN")]
    for variable in ("GRAVOK_JSON_PLUGIN", "GRAVOK_LANDXML_PLUGIN"):
        if os.environ.get(variable):
            loaded.append(gravok.load_plugin(os.environ[variable]))
    yield loaded


def open_source(location):
    source = gravok.createDataSource(location)
    assert source is not None, location
    return source


def absolute_mesh(source):
    x, y, z, triangles, _ = source.get_eg_data()
    return (np.asarray(x) + source.get_xorig(), np.asarray(y) + source.get_yorig(),
            np.asarray(z) + source.get_zorig(), np.asarray(triangles))


def surfaces(source):
    """Each surface's name with its mesh in absolute coordinates."""
    ids, names = source.get_surfaces()
    out = {}
    for i, name in zip(ids, names):
        source.select_surface(i)
        out[name] = absolute_mesh(source)
    return out


def corner_triangles(mesh):
    """The triangles as tuples of corner coordinates, in order."""
    x, y, z, triangles = mesh
    return [tuple((x[v], y[v], z[v]) for v in t) for t in triangles]


def ezdxf_triangles(faces):
    """The triangles the plug-in makes of ezdxf's faces (lists of corners): a face of
    three corners, or whose fourth repeats the third or the first, is one; a
    quadrilateral is split along its first-to-third diagonal."""
    out = []
    for corners in faces:
        c = [tuple(p) for p in corners]
        out.append((c[0], c[1], c[2]))
        if len(c) == 4 and c[3] != c[2] and c[3] != c[0]:
            out.append((c[0], c[2], c[3]))
    return out


def elements(source):
    """Each kind's elements: point kinds as their location slots, the others as
    vertex lists, all in absolute coordinates."""
    ox, oy, oz = source.get_xorig(), source.get_yorig(), source.get_zorig()
    out = {}
    for kind in KINDS:
        records, xs, ys, _ = source.get_grading_elements(kind)
        if not records:
            continue
        if int(kind) in (0, 1, 3):
            shift = {0: (ox, oy, 0, 0, 0, 0), 1: (ox, oy, 0, oz, oz, 0), 3: (0, ox, oy, 0, ox, oy)}
            out[int(kind)] = [tuple(a + b for a, b in zip(r.location, shift[int(kind)]))
                              for r in records]
        else:
            out[int(kind)] = [([v + ox for v in vx], [v + oy for v in vy])
                              for vx, vy in zip(xs, ys)]
    return out


def draw(version, path):
    """A drawing of every kind of content the plug-in reads, written by ezdxf."""
    doc = ezdxf.new(version)
    doc.header["$INSUNITS"] = 6
    msp = doc.modelspace()
    # A TIN of quadrilaterals and triangles at state-plane coordinates.
    for j in range(3):
        for i in range(3):
            x0, y0 = 2_000_000.125 + 10 * i, 500_000.3 + 10 * j
            corners = [(x0, y0, 100 + i * 0.1), (x0 + 10, y0, 100.5 + i * 0.1),
                       (x0 + 10, y0 + 10, 101 + j * 0.2), (x0, y0 + 10, 100.25 + j)]
            if (i + j) % 2:
                corners[3] = corners[2]
            msp.add_3dface(corners, dxfattribs={"layer": "EXISTING"})
    # A polyface mesh on a second layer.
    mesh = msp.add_polyface(dxfattribs={"layer": "PROPOSED"})
    mesh.append_faces([[(0, 0, 1), (5, 0, 2), (5, 5, 3), (0, 5, 4)],
                       [(5, 0, 2), (9, 1, 2.5), (5, 5, 3)]])
    mesh.optimize()
    # Elements on named layers, and break lines.
    if version == "R12":
        msp.add_polyline2d([(0, 0), (3, 1), (6, 0)], dxfattribs={"layer": "DRAIN-LINE", "elevation": (0, 0, 12.5)})
        msp.add_polyline2d([(0, 0), (4, 0), (4, 4), (0, 4)], close=True, dxfattribs={"layer": "Building Pad"})
    else:
        msp.add_lwpolyline([(0, 0), (3, 1), (6, 0)], dxfattribs={"layer": "DRAIN-LINE", "elevation": 12.5})
        msp.add_lwpolyline([(0, 0), (4, 0), (4, 4), (0, 4)], close=True, dxfattribs={"layer": "Building Pad"})
    msp.add_polyline3d([(0, 0, 1), (1, 1, 2), (2, 0, 3)], dxfattribs={"layer": "EG-BREAKLINES"})
    msp.add_point((7, 8, 9), dxfattribs={"layer": "LOW_POINT"})
    msp.add_line((1, 2, 0), (3, 4, 0), dxfattribs={"layer": "Offset"})
    msp.add_line((1, 1, 0), (2, 2, 0), dxfattribs={"layer": "TREES"})
    # A block of one triangle placed twice on its own layer.
    block = doc.blocks.new("TRI")
    block.add_3dface([(0, 0, 0), (1, 0, 0), (0, 1, 0)])
    msp.add_blockref("TRI", (100, 0, 5), dxfattribs={"layer": "BLOCKS"})
    msp.add_blockref("TRI", (200, 0, 5), dxfattribs={"layer": "BLOCKS", "xscale": 2, "rotation": 90})
    doc.saveas(path)
    return doc


@pytest.mark.parametrize("version", ["R12", "R2000", "R2004", "R2007", "R2010", "R2013", "R2018"])
def test_reads_what_ezdxf_writes(plugins, tmp_path, version):
    path = tmp_path / f"drawing-{version}.dxf"
    doc = draw(version, str(path))
    source = open_source(f"dxf:{path}")
    got = surfaces(source)
    assert list(got) == ["EXISTING", "PROPOSED", "BLOCKS"]
    msp = doc.modelspace()
    faces = [[e[i] for i in range(4)] for e in msp.query("3DFACE[layer=='EXISTING']")]
    want = ezdxf_triangles(faces)
    assert corner_triangles(got["EXISTING"]) == want
    assert len(got["EXISTING"][0]) == len({c for t in want for c in t})
    mesh = msp.query("POLYLINE[layer=='PROPOSED']").first
    # ezdxf gives each face as its vertices followed by its face record.
    want = ezdxf_triangles([[v.dxf.location for v in face[:-1]] for face in mesh.faces()])
    assert corner_triangles(got["PROPOSED"]) == want
    placed = [e for e in disassemble.recursive_decompose(msp.query("INSERT"))
              if e.dxftype() == "3DFACE"]
    want = ezdxf_triangles([[e[i] for i in range(4)] for e in placed])
    for got_t, want_t in zip(corner_triangles(got["BLOCKS"]), want):
        assert np.allclose(got_t, want_t, atol=1e-12)
    kinds = elements(source)
    assert sorted(kinds) == [0, 3, 4, 101]
    assert kinds[4] == [([0, 3, 6], [0, 1, 0])]
    assert kinds[101] == [([0, 4, 4, 0], [0, 0, 4, 4])]
    assert kinds[0][0][:2] == (7, 8)
    assert kinds[3][0] == (0, 1, 2, 0, 3, 4)
    lines = source.get_break_lines()
    assert len(lines) == 2
    # ezdxf writes no $INSUNITS into R12 drawings.
    unit = source.get_linear_unit()
    assert unit.name == ("unknown" if version == "R12" else "meter")


def ezdxf_surfaces(msp):
    """Per layer, the triangles of its 3DFACEs and polyface meshes as ezdxf reads them."""
    out = {}
    for e in msp:
        if e.dxftype() == "3DFACE":
            faces = [[e[i] for i in range(4)]]
        elif e.dxftype() == "POLYLINE" and e.get_mode() == "AcDbPolyFaceMesh":
            faces = [[v.dxf.location for v in face[:-1]] for face in e.faces()]
        else:
            continue
        out.setdefault(e.dxf.layer, []).extend(ezdxf_triangles(faces))
    return out


def corner_count(triangles):
    """Distinct corners, bit for bit (0.0 and -0.0 are two), as the plug-in welds them."""
    return len({struct.pack("3d", *c) for t in triangles for c in t})


# Drawings written by other programs (tests/data/README.md), each with the layer that
# holds its break lines, if any.
REAL_DRAWINGS = [("ezdxf_minimal_r10.dxf", ""), ("ezdxf_polylines_r12.dxf", "T-2DPLINE-ALL"),
                 ("dxfjs_polyface_r2000.dxf", ""), ("ezdxf_3dface_r2018.dxf", ""),
                 ("ddbim_badmuskau_survey_r2013.dxf", "HTW_LINIEN_HOEHENLINIEN")]
UNIT_NAMES = {4: "millimeter", 6: "meter"}


@pytest.mark.parametrize("name,break_layer", REAL_DRAWINGS)
def test_real_drawings_match_ezdxf(plugins, name, break_layer):
    path = DATA / "dxf" / name
    doc = ezdxf.readfile(str(path))
    msp = doc.modelspace()
    source = open_source(f"dxf:{path}?breaklines={break_layer}" if break_layer else f"dxf:{path}")
    # ezdxf upgrades what it loads to R12 at least, so the version is taken from the text.
    lines = path.read_text(errors="replace").splitlines()
    version = lines[lines.index("$ACADVER") + 2].strip()
    assert source.get_hostcad_version() == f"DXF {version}"
    insunits = doc.header.get("$INSUNITS", 0)
    assert source.get_linear_unit().name == UNIT_NAMES.get(insunits, "unknown")
    got = surfaces(source)
    want = ezdxf_surfaces(msp)
    assert list(got) == list(want)
    for layer, triangles in want.items():
        assert len(got[layer][3]) == len(triangles), layer
        assert len(got[layer][0]) == corner_count(triangles), layer
        assert sorted(corner_triangles(got[layer])) == sorted(triangles), layer
    # Each segment starts where ezdxf places the vertex, in the drawing's order: 2D
    # polylines lie in their object coordinate system at their elevation; a LINE is one
    # segment; the frame of a spline-fit polyline (vertex flag 16) is not on the line.
    starts = []
    for e in msp.query(f"POLYLINE LINE[layer=='{break_layer}']"):
        if e.dxftype() == "LINE":
            starts.append(e.dxf.start)
            continue
        ocs, z = e.ocs(), e.dxf.elevation.z
        flat = e.get_mode() == "AcDb2dPolyline"
        points = [ocs.to_wcs(v.dxf.location.replace(z=z)) if flat else v.dxf.location
                  for v in e.vertices if not v.dxf.flags & 16]
        starts += points if e.is_closed else points[:-1]
    origin = np.array([source.get_xorig(), source.get_yorig(), source.get_zorig()])
    got = [np.array([l.x1, l.y1, l.z1]) + origin for l in source.get_break_lines()]
    assert len(got) == len(starts)
    if starts:
        assert np.allclose(np.reshape(got, (-1, 3)), np.reshape(starts, (-1, 3)), atol=1e-12)


def write_problem(source, path):
    store = gravok.createDataStore(str(path))
    assert store is not None, path
    store.copyAllFrom(source)
    return store


@pytest.mark.parametrize("version", ["R12", "R2018"])
def test_store_output_passes_ezdxf_audit(plugins, tmp_path, version):
    drawn = tmp_path / "drawn.dxf"
    draw(version, str(drawn))
    out = tmp_path / "written.dxf"
    write_problem(open_source(f"dxf:{drawn}"), out)
    doc = ezdxf.readfile(str(out))
    auditor = doc.audit()
    assert not auditor.has_errors, [str(e) for e in auditor.errors]
    assert not auditor.has_fixes, [str(f) for f in auditor.fixes]
    assert doc.header["$INSUNITS"] == (0 if version == "R12" else 6)
    msp = doc.modelspace()
    assert len(msp.query("3DFACE[layer=='EXISTING']")) == 0  # the store writes one surface
    layers = {e.dxf.layer for e in msp}
    assert {"Existing ground", "BreakLine", "LowPoint", "Offset", "DrainLine", "BuildingPad"} <= layers


def assert_same_mesh(a, b):
    for u, v in zip(a[:3], b[:3]):
        assert u.tobytes() == v.tobytes()
    assert np.array_equal(a[3], b[3])


@pytest.mark.parametrize("real", [False, True])
def test_dxf_json_dxf_keeps_mesh_and_elements(plugins, tmp_path, real):
    """A drawing of ours, and the surveyed site with its contours as break lines."""
    if not os.environ.get("GRAVOK_JSON_PLUGIN"):
        pytest.skip("the JSON plug-in is not built")
    if real:
        drawn = DATA / "dxf" / "ddbim_badmuskau_survey_r2013.dxf"
        first = open_source(f"dxf:{drawn}?breaklines=HTW_LINIEN_HOEHENLINIEN")
    else:
        drawn = tmp_path / "drawn.dxf"
        draw("R2018", str(drawn))
        first = open_source(f"dxf:{drawn}")
    write_problem(first, tmp_path / "middle.json")
    middle = open_source(str(tmp_path / "middle.json"))
    write_problem(middle, tmp_path / "again.dxf")
    again = open_source(f"dxf:{tmp_path / 'again.dxf'}")
    first.select_surface(0)
    assert_same_mesh(absolute_mesh(first), absolute_mesh(again))
    assert elements(again) == elements(first)
    assert [tuple(vars_of(l)) for l in again.get_break_lines()] == \
        [tuple(vars_of(l)) for l in first.get_break_lines()]


def vars_of(line):
    return (line.x1, line.y1, line.z1, line.x2, line.y2, line.z2)


def test_landxml_dxf_landxml_keeps_mesh(plugins, tmp_path):
    if not os.environ.get("GRAVOK_LANDXML_PLUGIN"):
        pytest.skip("the LandXML plug-in is not built")
    first = open_source("landxml:" + str(DATA / "landxml" / "blender_topo_s2.xml"))
    write_problem(first, tmp_path / "middle.dxf")
    write_problem(open_source(f"dxf:{tmp_path / 'middle.dxf'}"), tmp_path / "again.xml")
    again = open_source("landxml:" + str(tmp_path / "again.xml"))
    a, b = absolute_mesh(first), absolute_mesh(again)
    # Only the vertices triangles use reach DXF, numbered as the triangles name them.
    assert corner_triangles(a) == corner_triangles(b)
    assert not any(math.isnan(v) for v in b[0])
