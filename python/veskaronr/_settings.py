"""Settings: everything that decides what the filters do."""

from __future__ import annotations

from ctypes import Array, byref, c_float, c_void_p
from dataclasses import dataclass, field, fields, replace
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

from ._arguments import integer, number, table
from ._library import PARAM_COUNT, CNoise, CSettings, c_library, call, sized
from ._recipe import RecipeFile, read_recipe, write_recipe

if TYPE_CHECKING:
    from ._measure import Noise

Rounding = Literal["auto", "truncate", "nearest", "none", "finest"]
_ROUNDINGS: tuple[Rounding, ...] = ("auto", "truncate", "nearest", "none", "finest")

Preset = Literal["best", "fast", "classic"]
DEFAULT_PRESET: Preset = "best"


class _Rule(NamedTuple):
    """How a preset makes settings from a measurement and a strength."""

    function: str
    least_strength: float


_PRESETS = {
    "best": _Rule("vnr_settings_best", 0.6),
    "fast": _Rule("vnr_settings_fast", 0.6),
    "classic": _Rule("vnr_settings_classic", 0.5),
}
_MOST_STRENGTH = 1.5


@dataclass
class Params:
    """The filters' 21 parameters by name, in the C library's order. Every field starts at its default.

    As ``settings=`` of `denoise` with the preset "classic", a ``Params`` says what to use beside a measurement:
    ``noise_level``, ``chroma_keep``, ``highlight_start`` and ``highlight_width`` are measured, and all fields return
    to their defaults for a picture whose noise cannot be measured. The other presets choose every field. `Settings`
    are used as they stand.

    Examples
    --------
    >>> import veskaronr
    >>> veskaronr.Params(sharpening=0.0).sharpening
    0.0
    """

    noise_level: float = 46.4801  #: luminance noise level; measured
    highlight_noise: float = 0.2  #: noise at full white relative to noise at black, 0.01 to 1
    level0_noise: float = 1.0  #: noise multiplier of the finest level
    level1_noise: float = 1.0
    level2_noise: float = 1.0
    level3_noise: float = 1.0  #: of the coarsest level
    luma_keep: float = 0.3  #: share of the input's luminance in the result
    chroma_keep: float = -0.204229  #: share of the input's chroma in the result; measured
    level0_amount: float = 1.0  #: noise-reduction amount of the finest level
    level1_amount: float = 1.0
    level2_amount: float = 1.0
    level3_amount: float = 1.0  #: of the coarsest level
    sharpening: float = 0.2  #: luminance sharpening
    level0_sharpening: float = 1.0  #: sharpening multiplier of the finest level
    level1_sharpening: float = 1.0
    level2_sharpening: float = 1.0
    level3_sharpening: float = 1.0  #: of the coarsest level
    highlight_start: float = 100.0  #: luminance where luminance noise reduction starts to fade; measured
    highlight_width: float = 137.96  #: width of that fade; measured
    chroma_sharpening: float = 0.2  #: chroma sharpening
    reserved: float = 1.0  #: read by nothing

    def to_vector(self) -> Array[c_float]:
        """The 21 floats as the C functions take them.

        Examples
        --------
        >>> import veskaronr
        >>> len(veskaronr.Params().to_vector())
        21
        """
        values = [number(f.name, getattr(self, f.name)) for f in fields(Params)]
        return (c_float * PARAM_COUNT)(*values)


Row = tuple[float, ...]  # by frequency
Spectrum = tuple[tuple[Row, ...], ...]  # of Y, B - Y and R - Y, by vertical and horizontal frequency
_NO_RESIDUAL: Row = (0.0,) * 8
NO_SPECTRUM: Spectrum = (((0.0,) * 8,) * 8,) * 3

_STAGES = ("patch", "dots_luma", "dots_chroma", "shrink_luma", "shrink_chroma")
_TABLES = {"residual_luma": (8,), "residual_chroma": (8,), "spectrum": (3, 8, 8)}
_MEASURED = ("noise_level", "chroma_keep", "highlight_start", "highlight_width")


@dataclass
class Settings(Params):
    """Everything that decides what the filters do, used as it stands: nothing is measured or overwritten.

    `Noise.settings` gives what suits a measurement; any field may then be changed, with ``dataclasses.replace`` for
    instance. Settings that no filter can work with are refused with `ArgumentError` when they are used. `save` and
    `load` keep them in a file, a recipe, for other pictures.

    Examples
    --------
    >>> import dataclasses, veskaronr
    >>> mine = dataclasses.replace(veskaronr.Settings(noise_level=60.0), luma_keep=0.1)
    >>> mine.noise_level, mine.luma_keep, mine.tile
    (60.0, 0.1, 256)
    """

    recon_threshold: float = 10.0  #: colour distance up to which two pixels count as equal between levels
    recon_rolloff: float = 50.0  #: further distance over which their similarity falls to 0
    linear_scale: float = 1.0  #: scale of linear pictures, above 0; not used for others
    tile: int = 256  #: nominal edge of a tile in pixels, 56 to 32768; it decides the bytes
    #: "truncate" (auto for integers), "nearest", "none" (auto for floats, only there), or "finest": "nearest" for
    #: integers, "none" for floats
    rounding: Rounding = "auto"
    # Stages that the preset "best" adds; at 0 they do not run.
    patch: float = 0.0  #: share, 0 to 1, of 3 x 3 neighbours in the finest level's distances
    dots_luma: float = 0.0  #: isolated dots go where their 8 neighbours lie within this of each other
    dots_chroma: float = 0.0  #: likewise, of B - Y and R - Y
    shrink_luma: float = 0.0  #: factor on the spectrum of Y by which 8 x 8 blocks of the input are shrunk
    shrink_chroma: float = 0.0  #: likewise, of B - Y and R - Y
    #: share of what the filtered picture lacks that may come back, by the larger frequency of the two: 8 numbers
    residual_luma: Row = _NO_RESIDUAL
    residual_chroma: Row = _NO_RESIDUAL  #: likewise, of B - Y and R - Y
    #: power of the noise, as `Noise` has it: 3 x 8 x 8 numbers, nested; anything of that shape is taken
    spectrum: Spectrum = field(default=NO_SPECTRUM, repr=False)

    def _as_struct(self) -> CSettings:
        if self.rounding not in _ROUNDINGS:
            raise ValueError(f"rounding must be one of {', '.join(_ROUNDINGS)}, not {self.rounding!r}")
        tile = integer("tile", self.tile)
        return sized(
            CSettings,
            params=self.to_vector(),
            recon_threshold=number("recon_threshold", self.recon_threshold),
            recon_rolloff=number("recon_rolloff", self.recon_rolloff),
            linear_scale=number("linear_scale", self.linear_scale),
            tile=min(max(tile, 0), 1 << 30),  # what C's int cannot hold is refused as these are
            rounding=_ROUNDINGS.index(self.rounding),
            **{name: number(name, getattr(self, name)) for name in _STAGES},
            **{name: table(name, getattr(self, name), *shape) for name, shape in _TABLES.items()},
        )

    def save(self, file: RecipeFile) -> None:
        """Write the settings as a recipe: a small JSON file that says nothing of the picture they were made for.

        Parameters
        ----------
        file : path or file object
            Where to; a file that exists is replaced. File objects may be of text or of bytes, and stay open.

        Raises
        ------
        TypeError, ValueError
            If no filter can work with the settings; nothing is written then.
        OSError
            If the file cannot be written.

        Examples
        --------
        What suits one picture, for another:

        >>> import io, numpy as np, veskaronr
        >>> one, other = np.random.default_rng(1).normal(110, 12, (2, 128, 128)).astype(np.uint8)
        >>> clean, info = veskaronr.denoise(one, return_info=True)
        >>> recipe = io.StringIO()  # or a path
        >>> info.settings.save(recipe)
        >>> recipe.seek(0)
        0
        >>> clean = veskaronr.denoise(other, settings=veskaronr.Settings.load(recipe))
        """
        _check(self)
        write_recipe({f.name: _plain(getattr(self, f.name)) for f in fields(Settings)}, file)

    @classmethod
    def load(cls, file: RecipeFile) -> Settings:
        """The settings of a recipe.

        Parameters
        ----------
        file : path or file object
            What `save` or the companion has written.

        Returns
        -------
        Settings
            Equal to those that were saved.

        Raises
        ------
        ValueError
            If the file is no recipe, or of a later version, or a field is unknown, missing, or has a value that no
            filter can work with.
        OSError
            If the file cannot be read.

        Examples
        --------
        >>> import io, veskaronr
        >>> veskaronr.Settings.load(io.StringIO('{"recipe": 1, "settings": {"luma_keep": 2}}'))
        Traceback (most recent call last):
        ...
        ValueError: the recipe lacks noise_level
        """
        values = read_recipe(file, [f.name for f in fields(Settings)])
        values.update((name, as_tuples(values[name])) for name in _TABLES)
        for name, value in values.items():
            try:
                if _holds_bool(value):
                    raise TypeError("JSON's true and false are no numbers")
                _check(replace(Settings(), **{name: value}))
            except (TypeError, ValueError) as failure:
                raise ValueError(f"the recipe's {name} cannot be {value!r:.60}") from failure
        return cls(**values)


def _holds_bool(value: Any) -> bool:
    return any(map(_holds_bool, value)) if isinstance(value, tuple) else isinstance(value, bool)


def _check(settings: Settings) -> None:
    """The library's own judgement."""
    struct, plan = settings._as_struct(), c_void_p()
    call("vnr_plan_begin", 64, 64, byref(struct), byref(plan))
    c_library().vnr_plan_end(plan)


def as_tuples(values: Any) -> Any:
    """Nested numbers of C or JSON."""
    return tuple(map(as_tuples, values)) if hasattr(values, "__len__") and not isinstance(values, str) else values


def _plain(value: Any) -> Any:
    """Numpy's numbers and tables as Python's."""
    if isinstance(value, str):
        return value
    if hasattr(value, "__len__"):
        return [_plain(one) for one in value]
    return int(integer("a setting", value)) if hasattr(value, "__index__") else number("a setting", value)


def _of_struct(struct: CSettings) -> Settings:
    params = dict(zip((f.name for f in fields(Params)), struct.params))
    return Settings(
        **params,
        recon_threshold=struct.recon_threshold,
        recon_rolloff=struct.recon_rolloff,
        linear_scale=struct.linear_scale,
        tile=struct.tile,
        rounding=_ROUNDINGS[struct.rounding],
        **{name: getattr(struct, name) for name in _STAGES},
        **{name: as_tuples(getattr(struct, name)) for name in _TABLES},
    )


def check_preset(preset: str) -> None:
    if not isinstance(preset, str) or preset not in _PRESETS:
        raise ValueError(f"preset must be one of {', '.join(_PRESETS)}, not {preset!r}")


def takes_grain(preset: str) -> bool:
    """Whether a preset works with the second measurement, by scale, instead of the noise level."""
    check_preset(preset)
    return preset != "classic"


def settings_of(noise: CNoise, strength: float, preset: str) -> Settings:
    """What a preset makes of a measurement and a strength."""
    struct, factor = sized(CSettings), check_strength(strength, preset)
    call(_PRESETS[preset].function, byref(noise), factor, byref(struct))
    return _of_struct(struct)


def check_strength(strength: float, preset: str) -> float:
    check_preset(preset)
    factor, least = number("strength", strength), _PRESETS[preset].least_strength
    if not least <= factor <= _MOST_STRENGTH:
        raise ValueError(f"the strength of {preset} is a factor from {least} to {_MOST_STRENGTH}, not {strength}")
    return factor


def with_params(measured: Settings, params: Params, noise: Noise) -> Settings:
    """What a caller's ``Params`` come to beside a measurement."""
    if not noise.measured:
        return measured
    own: dict[str, Any] = {f.name: getattr(params, f.name) for f in fields(Params) if f.name not in _MEASURED}
    return Settings(**{**vars(measured), **own})
