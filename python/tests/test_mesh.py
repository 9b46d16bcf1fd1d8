"""Mesh tools on NumPy arrays against the literal C++ reference."""

import numpy as np
import pytest

import gravok
import _gravok_testing as testing


def random_mesh(seed, n=3000, t=5000):
    rng = np.random.default_rng(seed)
    # Coarse plan coordinates make many vertices coincide or nearly coincide.
    x = np.round(rng.uniform(0, 40, n), 1)
    y = np.round(rng.uniform(0, 40, n), 1)
    z = rng.normal(0, 5, n)
    triangles = rng.integers(0, n, (t, 3), dtype=np.uint64)
    return x, y, z, triangles


@pytest.mark.parametrize("seed, tolerance", [(1, 0.0), (2, 0.05), (3, 0.1), (4, 0.35)])
def test_reindex_mesh_matches_the_reference(seed, tolerance):
    x, y, z, triangles = random_mesh(seed)
    before = [a.copy() for a in (x, y, z, triangles)]
    got = gravok.reindex_mesh(x, y, z, triangles, tolerance)
    want = testing.reindex_oracle(x.tolist(), y.tolist(), z.tolist(),
                                  triangles.tolist(), tolerance)
    for g, w, dtype in zip(got, want, (np.float64,) * 3 + (np.uint64,)):
        assert g.dtype == dtype
        assert g.tobytes() == np.asarray(w, dtype=dtype).tobytes()
    assert got[3].shape == triangles.shape
    assert len(got[0]) < len(x) or tolerance == 0.0
    for a, b in zip(before, (x, y, z, triangles)):
        assert a.tobytes() == b.tobytes()  # inputs untouched

    cx, cy, cz, ct = gravok.remove_unused_vertices(*got)
    wx, wy, wz, wt = testing.remove_unused_oracle(*(a.tolist() for a in got))
    assert cx.tolist() == wx and cz.tolist() == wz and ct.tolist() == wt


@pytest.mark.parametrize("triangles, error", [
    ([[0, 1, 3]], ValueError),          # out of range
    ([[0, -1, 2]], ValueError),         # negative
    ([[0.0, 1.0, 2.0]], TypeError),     # not integers
    ([[0, 1]], ValueError),             # not (n, 3)
])
def test_bad_triangles_raise_instead_of_reaching_the_tools(triangles, error):
    x = y = z = [0.0, 1.0, 2.0]
    with pytest.raises(error):
        gravok.reindex_mesh(x, y, z, triangles, 0.1)


def test_check_mesh_and_poly_files(tmp_path):
    x, y, z = [0.0, 1.0, 0.0, 0.0, 5.0], [0.0, 0.0, 1.0, 0.0, 5.0], [1.0, 2.0, 3.0, 4.0, 5.0]
    findings = gravok.check_mesh(x, y, z, [[0, 1, 2], [0, 1, 7]], 0.0)
    kind = gravok.MeshFindingKind
    assert [(f.kind, f.index) for f in findings] == [
        (kind.IndexOutOfRange, 1), (kind.UnusedVertex, 3), (kind.UnusedVertex, 4),
        (kind.WeldedVertex, 3)]
    assert "vertex 7" in str(findings[0])
    gravok.PolyFile.to_files(str(tmp_path / "site.poly"), x, y, z, [[0, 1, 2]])
    assert (tmp_path / "site.1.node").read_text().startswith("5 2 1 1")
    poly = tmp_path / "square.poly"
    poly.write_text("4 2 1 1\n1 0 0 1 0\n2 1 0 2 0\n3 1 1 3 0\n4 0 1 4 0\n"
                    "4 1\n1 1 2 0\n2 2 3 0\n3 3 4 0\n4 4 1 0\n")
    px, py, pz, pt, boundary = gravok.PolyFile.read(str(poly))
    assert px.tolist() == [0, 1, 1, 0] and pt.shape == (0, 3)
    assert py.tolist() == [0, 0, 1, 1] and pz.tolist() == [1, 2, 3, 4]
    assert boundary.tolist() == [1, 2, 3, 4]
    with pytest.raises(gravok.PolyReadError) as caught:
        gravok.PolyFile.read(str(tmp_path / "absent.poly"))
    assert caught.value.status == gravok.PolyReadResult.Status.cannot_open
