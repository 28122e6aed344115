"""Every public name says what it does, and the stub names everything the
extension has."""

import ast
import pathlib

import kalviro
from kalviro import _kalviro


def test_every_public_name_has_a_docstring():
    for name in kalviro.__all__:
        obj = getattr(kalviro, name)
        if callable(obj):
            assert (obj.__doc__ or "").strip(), name
    assert "degrees Celsius" in kalviro.open.__doc__ and "(frame, y, x)" in kalviro.open.__doc__


def test_the_stub_covers_the_extension():
    stub = ast.parse((pathlib.Path(kalviro.__file__).parent / "_kalviro.pyi").read_text())
    top = {n.name for n in stub.body if isinstance(n, (ast.FunctionDef, ast.ClassDef))}
    top |= {n.target.id for n in stub.body if isinstance(n, ast.AnnAssign)}
    camera = next(n for n in stub.body if isinstance(n, ast.ClassDef) and n.name == "Camera")
    methods = {n.name for n in camera.body if isinstance(n, ast.FunctionDef)}
    assert {n for n in dir(_kalviro) if not n.startswith("__") or n == "__version__"} <= top | {"Camera"}
    assert {n for n in dir(_kalviro.Camera) if not n.startswith("__")} <= methods
