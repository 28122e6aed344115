from typing import Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

Block = Union[bytes, bytearray, memoryview, npt.NDArray[np.uint8]]
WritableBlock = Union[bytearray, memoryview, npt.NDArray[np.uint8]]

__version__: str

def version() -> str: ...
def _caltypes() -> list[Tuple[int, str, str, bool, Tuple[int, ...]]]: ...
def _block_bytes(block: Block) -> bytes: ...
def _time_convert(
    caltype: int, image: npt.NDArray[np.uint16], block: WritableBlock, emissivity: float, repeats: int
) -> list[float]: ...

class Camera:
    def __init__(self, caltype: int) -> None: ...
    @property
    def caltype(self) -> int: ...
    def init(self, gray: int, block: WritableBlock, emissivity: float = 1.0, distance: float = 0.0) -> float: ...
    def real(self, gray: int, block: Block, emissivity: float = 1.0, distance: float = 0.0) -> float: ...
    def once(self, gray: int, block: WritableBlock, emissivity: float = 1.0, distance: float = 0.0) -> float: ...
    def get_it(self, block: Block) -> Optional[float]: ...
    def temp_para(self, block: Block) -> dict[str, Union[int, bytes]]: ...
    def temp2gray(
        self,
        block: Block,
        temp: float,
        temp_min: float,
        temp_max: float,
        gray_min: int,
        gray_max: int,
        emissivity: float = 1.0,
    ) -> int: ...
    def convert(
        self,
        image: npt.NDArray[np.uint16],
        block: WritableBlock,
        emissivity: float = 1.0,
        distance: float = 0.0,
        out: Optional[npt.NDArray[np.float32]] = None,
        threads: int = 1,
    ) -> npt.NDArray[np.float32]: ...
