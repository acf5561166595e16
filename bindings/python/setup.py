"""Packs what the build has put beside it. The module is built by CMake: see bindings/python/pack."""
from setuptools import Distribution, setup


class Platform(Distribution):
    """Holds compiled files, though setuptools compiles none."""

    def has_ext_modules(self) -> bool:
        return True


setup(distclass=Platform, options={"bdist_wheel": {"py_limited_api": "cp311"}})
