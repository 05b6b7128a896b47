"""Keys a clip in chunks on a Dask cluster; the joined result is, byte for byte, that of one process that keys it all.

    ffmpeg -i clip.mov -f rawvideo -pix_fmt bgra clip.raw
    python3 farm_dask.py clip.raw keyed.raw --size 1920x1080 --plate 0,100,200
    ffmpeg -f rawvideo -pix_fmt bgra -s 1920x1080 -i keyed.raw -c:v prores_ks keyed.mov

Both files lie where all workers see them. Two processes of this machine do the work unless --scheduler names a cluster,
whose workers need numpy and the package zchromakey.
"""

import argparse

import numpy as np
from dask.distributed import Client, LocalCluster

import zchromakey


def frames_of(path, size, mode="r"):
    """The frames of a file of raw pictures, B, G, R, A: an array that is read as far as it is used."""
    width, height = map(int, size.split("x"))
    return np.memmap(path, np.uint8, mode).reshape(-1, height, width, 4)


def key_chunk(job, first, last):
    """Keys the frames from first up to last into the output. Each chunk learns the same plate and then holds it.

    With the plate held, nothing of a frame shows in later ones, so that it does not matter where a chunk begins. With a
    pre-roll it goes on learning, from some frames before its own.
    """
    clip, keyed = frames_of(job.clip, job.size), frames_of(job.keyed, job.size, "r+")
    with zchromakey.Keyer(order="BGR", options={"process.threads": 1}) as keyer:
        if not keyer.load(job.keys):
            raise ValueError("the document has no keys")
        for number in range(max(first - job.preroll, 0), first) if job.preroll else job.plate:
            keyer.mask(clip[number])
        if not job.preroll:
            keyer.params["learn"] = "hold"
        for number in range(first, last):
            keyer.process(clip[number], keyed[number])
    return last - first


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("clip")
    parser.add_argument("keyed")
    parser.add_argument("--size", required=True, metavar="WxH")
    parser.add_argument("--keys", metavar="FILE.xml", help="a key file; else the backdrop is looked for")
    parser.add_argument("--plate", default="0", metavar="N,N,...", help="frames to learn the backdrop from")
    parser.add_argument(
        "--preroll", type=int, default=0, metavar="N", help="learn from N frames before each chunk instead"
    )
    parser.add_argument("--chunk", type=int, default=100, help="frames of a chunk")
    parser.add_argument("--scheduler", help="the address of a cluster")
    job = parser.parse_args()
    job.plate = [int(number) for number in job.plate.split(",")]
    return job


def main():
    job = arguments()
    clip = frames_of(job.clip, job.size)
    with zchromakey.Keyer(job.keys, order="BGR") as keyer:  # found once, for all chunks
        if not job.keys and not keyer.key_auto(clip[job.plate[0]]):
            raise SystemExit("no backdrop was found; give a key file by --keys")
        job.keys = keyer.save()
    np.memmap(job.keyed, np.uint8, "w+", shape=clip.shape).flush()  # as long as the result
    starts = range(0, len(clip), job.chunk)
    cluster = None if job.scheduler else LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0")
    with Client(job.scheduler or cluster) as client:
        done = client.map(lambda first: key_chunk(job, first, min(first + job.chunk, len(clip))), starts)
        print(sum(client.gather(done)), "frames keyed")


if __name__ == "__main__":
    main()
