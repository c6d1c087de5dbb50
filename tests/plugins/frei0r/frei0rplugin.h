#pragma once

#include <QImage>
#include <QLibrary>
#include <QSize>

extern "C" {
#include <frei0r.h>
}

// The frei0r filter as a host calls it.

// The functions of the plug-in.
struct Plugin
{
    Plugin()
        : module(QStringLiteral(CRAYVELL_FREI0R))
    {
        resolve(init, "f0r_init");
        resolve(deinit, "f0r_deinit");
        resolve(pluginInfo, "f0r_get_plugin_info");
        resolve(parameterInfo, "f0r_get_param_info");
        resolve(construct, "f0r_construct");
        resolve(destruct, "f0r_destruct");
        resolve(setValue, "f0r_set_param_value");
        resolve(value, "f0r_get_param_value");
        resolve(update, "f0r_update");
    }

    QLibrary module;
    bool isComplete = true;
    decltype(&f0r_init) init;
    decltype(&f0r_deinit) deinit;
    decltype(&f0r_get_plugin_info) pluginInfo;
    decltype(&f0r_get_param_info) parameterInfo;
    decltype(&f0r_construct) construct;
    decltype(&f0r_destruct) destruct;
    decltype(&f0r_set_param_value) setValue;
    decltype(&f0r_get_param_value) value;
    decltype(&f0r_update) update;

private:
    template <typename Function> void resolve(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(module.resolve(name));
        isComplete = isComplete && function;
    }
};

// Its own instance for frames of one size.
class Filter
{
public:
    Filter(const Plugin &plugin, QSize size)
        : m_plugin(plugin)
        , m_instance(plugin.construct(static_cast<unsigned>(size.width()),
                                      static_cast<unsigned>(size.height())))
    {
    }
    ~Filter()
    {
        if (m_instance)
            m_plugin.destruct(m_instance);
    }
    Q_DISABLE_COPY_MOVE(Filter)

    explicit operator bool() const { return m_instance; }
    void set(int index, double value) { m_plugin.setValue(m_instance, &value, index); }
    double value(int index, double before = -1) const
    {
        m_plugin.value(m_instance, &before, index);
        return before;
    }
    QImage sketchOf(const QImage &photo)
    {
        QImage paper(photo.size(), QImage::Format_ARGB32);
        paper.fill(0x12345678);
        update(photo.constBits(), paper.bits());
        return paper;
    }
    void update(const uchar *frame, uchar *paper)
    {
        m_plugin.update(m_instance, 0, reinterpret_cast<const uint32_t *>(frame),
                        reinterpret_cast<uint32_t *>(paper));
    }

private:
    const Plugin &m_plugin;
    f0r_instance_t m_instance;
};
